// The offscreen platform plug-in of Qt 5.15 never frees its screen. Everything it holds
// counts as reachable once the plug-in's own allocations are suppressed, and leaks of ours
// are still reported. Read by the leak checker of sanitizer builds; unused otherwise.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libqoffscreen.so\n";
}
