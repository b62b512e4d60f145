#pragma once

// Qt 5.15's offscreen platform never frees the screen it creates with the application: a
// cycle of objects that LeakSanitizer reports at exit of every test with a QApplication.
// Those allocations are recognised by the creation of the platform integration on their
// stack, which takes full stacks: Qt's libraries keep no frame pointers, so the fast
// unwinder would see only the innermost frame. Include this header once in such a test.
#if defined(__SANITIZE_ADDRESS__)
extern "C" const char* __asan_default_options()
{
    return "fast_unwind_on_malloc=0";
}

extern "C" const char* __lsan_default_suppressions()
{
    return "leak:QGuiApplicationPrivate::createPlatformIntegration\n";
}
#endif
