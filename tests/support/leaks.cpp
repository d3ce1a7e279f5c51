// What leak checkers leave out in all test programs.

// Fontconfig, which finds the labels' font, keeps some memory for the life of the process.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig";
}
