// The offscreen platform plug-in of Qt 5.15 never frees its screen and cursor, which refer to
// each other; LeakSanitizer would fail every widget test for it. The sanitizer runtime reads
// these suppressions on top of the shared file; elsewhere the function is never called.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libqoffscreen.so\n";
}
