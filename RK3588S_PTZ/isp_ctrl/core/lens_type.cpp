// Lens type: which lens is fitted, by the model name in the board's vendor storage, read afresh at every call.
// Setting a lens type is accepted, without effect.
#include "isp_ctrl/core/close_on_exec.h"
#include "isp_ctrl/core/lock.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/core/trace.h"
#include "isp_ctrl/isp_ctrl.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace
{

constexpr char kSR1053[] = "SR1053-50IRC-8M-F20";

// Name of the last successful read.
isp::Mutex lens_type_mtx;
char lens_type[126] ISP_GUARDED_BY(lens_type_mtx);

/// Reads a line, on where a signal interrupts; an unreadable one is empty. The line is cleared before.
template <std::size_t Size>
void read_line(char (&line)[Size], std::FILE* pipe)
{
    std::size_t length = 0;
    while (std::fgets(line + length, static_cast<int>(Size - length), pipe) == nullptr) {
        if (std::ferror(pipe) == 0) { // the output has ended
            return;
        }
        if (errno != EINTR) { // LCOV_EXCL_BR_LINE: nothing else makes the reading of a pipe fail
            line[0] = '\0';   // LCOV_EXCL_LINE
            return;           // LCOV_EXCL_LINE
        }
        std::clearerr(pipe);
        length = std::strlen(line);
    }
}

/// Keeps the name that a line begins with: up to the first blank or line feed, at most 125 characters.
void keep_name(const char* line) ISP_REQUIRES(lens_type_mtx)
{
    const std::size_t length = std::min(std::strcspn(line, " \n"), sizeof lens_type - 1);
    std::memcpy(lens_type, line, length);
    lens_type[length] = '\0';
}

} // namespace

int KIV_Get_Len_Types(void)
{
    std::FILE* pipe = popen(isp::seam.lens_command, "r");
    char line[256] = {};
    if (pipe == nullptr) {
        ISP_TRACE(__func__, "Failed to run awk command.\n\n");
    } else {
        isp::close_on_exec(fileno(pipe));
        read_line(line, pipe);
        pclose(pipe);
    }
    const isp::MutexLock lock(lens_type_mtx);
    if (pipe != nullptr) {
        keep_name(line);
    }
    return std::strcmp(lens_type, kSR1053) == 0 ? KIV_LEN_SR1053 : KIV_LEN_IR0147;
}

int KIV_Set_len_type(int /*isp_id*/, int /*value*/)
{
    return 0;
}
