// Stands in for the process that asks vendor storage for the lens, for an executable that is linked with
// -Wl,--wrap=popen,--wrap=pclose: one stream, made at the first call, that returns the same model every time. What is
// measured is then the caller's own work, without the start of a shell.
#include <cstdio>

extern "C" {

std::FILE* __wrap_popen(const char* command, const char* type);
int __wrap_pclose(std::FILE* pipe);

std::FILE* __wrap_popen(const char* /*command*/, const char* /*type*/)
{
    static char model[] = "SR1053-50IRC-8M-F20\n";
    static std::FILE* const pipe = fmemopen(model, sizeof model - 1, "r");
    std::rewind(pipe);
    return pipe;
}

int __wrap_pclose(std::FILE* /*pipe*/)
{
    return 0;
}
}
