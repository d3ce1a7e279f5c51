/* The log: where the library's lines go. They bring their own line ends, some of them two. */
#include <base/lib_dbgout.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

lib_dbgout_profile_s dbgout_profile; /* module_level above 5: a line for every step */

static int write_line(const char* format, va_list arguments)
{
    char line[1024];
    if (vsnprintf(line, sizeof line, format, arguments) < 0) {
        return -1;
    }
    size_t length = strlen(line);
    while (length > 0 && line[length - 1] == '\n') {
        line[--length] = '\0';
    }
    return fprintf(stderr, "%s\n", line); /* one call, so that lines of several threads do not mix */
}

int kiv_traceout(int level, const char* format, ...)
{
    (void)level;
    va_list arguments;
    va_start(arguments, format);
    const int length = write_line(format, arguments);
    va_end(arguments);
    return length;
}

int kiv_log_debug(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = write_line(format, arguments);
    va_end(arguments);
    return length;
}
