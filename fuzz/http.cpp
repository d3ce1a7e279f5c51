// Fuzzes what the interface reads of requests: method, path and query, headers, a blank line, a body. What is let in
// has one length and the right host; a body is obeyed or refused.
#include "fuzz_world.h"
#include "live/access.h"
#include "session/bad_input.h"
#include "session/session.h"

#include <sstream>

namespace
{

live::Head head_in(std::istream& text)
{
    live::Head head;
    std::string line;
    std::getline(text, head.method, ' ');
    std::getline(text, head.path);
    const std::size_t query = head.path.find("?width=");
    if (query != std::string::npos) {
        head.query.emplace_back("width", head.path.substr(query + 7));
        head.path.erase(query);
    }
    while (std::getline(text, line) && !line.empty()) {
        const std::size_t colon = std::min(line.find(": "), line.size());
        head.headers.emplace_back(line.substr(0, colon), line.substr(std::min(colon + 2, line.size())));
    }
    head.local = "127.0.0.1";
    return head;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    session::open_session(mkdtemp((std::filesystem::temp_directory_path() / "isp_fuzz_XXXXXX").string().data()));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::istringstream text(std::string(reinterpret_cast<const char*>(data), size));
    const live::Head head = head_in(text);
    const live::Target target = live::target_of(head);
    if (live::refusal_of(head, target, {.host = "127.0.0.1", .port = 8080})) {
        return 0;
    }
    fuzz::require(live::is_framed(head) && head.count("Host") == 1, "a request that is let in has one length and host");
    fuzz::require(target.name.find('\0') == std::string::npos, "names are texts");
    try {
        live::width_of(head);
        const auto body = live::Json::parse(std::string(std::istreambuf_iterator<char>(text), {}), nullptr, false);
        if (target.route == live::Route::setting && body.is_object()) {
            live::put_setting(target.camera, target.name, body);
        }
    } catch (const live::Refusal&) {
    } catch (const session::BadInput&) {
    }
    return 0;
}
