// Fuzzes the program's commands: any text is obeyed or refused as bad input, in files of the session's folder alone.
// Commands that draw, open sockets or follow the real clock are left out; durations are cut.
#include "prompt/commands.h"
#include "base/calls.h"
#include "host/store.h"
#include "prompt/completion.h"
#include "session/bad_input.h"
#include "session/cameras.h"
#include "session/session.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>

namespace
{

constexpr std::string_view kLeftOut[] = {"record",   "plot",    "render",  "compare", "styles", "histogram",
                                         "waveform", "balance", "shading", "iris",    "speed",  "watch",
                                         "trace",    "lens",    "follow",  "quit",    "sweep"};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    session::open_session(mkdtemp((std::filesystem::temp_directory_path() / "isp_fuzz_XXXXXX").string().data()));
    return std::freopen("/dev/null", "w", stdout) == nullptr;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    sim::clear_faults();
    for (int id = 0; id < session::kCameras; ++id) {
        rk_isp_deinit(id);
        rk_isp_deinit_group(id);
    }
    sim::host::reset_store();
    std::istringstream text(std::string(reinterpret_cast<const char*>(data), size));
    for (std::string line; std::getline(text, line);) {
        std::string command;
        std::istringstream(line) >> command;
        prompt::completions(line);
        if (command == "run") {
            line = "run 200ms";
        }
        if (std::ranges::find(kLeftOut, command) != std::end(kLeftOut)) {
            continue;
        }
        try {
            static prompt::RunOptions options{.confined = true};
            prompt::run_line(line, options);
        } catch (const session::BadInput&) {
        }
    }
    return 0;
}
