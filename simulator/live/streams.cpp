#include "live/streams.h"

#include "live/interface.h"
#include "live/log_lines.h"
#include "live/pictures.h"

#include <algorithm>

namespace live
{

namespace
{

constexpr std::chrono::milliseconds kStatePeriod{100};
constexpr std::chrono::milliseconds kPicturePeriod{40};
constexpr std::chrono::seconds kRepeat{1};
constexpr std::chrono::seconds kHeartbeat{5};

/// A stream of pictures, and what its viewer was sent last.
struct Pictures {
    int camera;
    int width;
    std::shared_ptr<const Picture> picture{};
    std::uint64_t least = 0; ///< pictures before it were there when the stream began, and may be long out of date
    Clock::time_point next = Clock::now();
    Clock::time_point repeat{};

    bool operator()(std::string& part, Clock::time_point& again);
};

bool Pictures::operator()(std::string& part, Clock::time_point& again)
{
    const Clock::time_point now = Clock::now();
    again = next;
    if (now < next) {
        return true;
    }
    const std::uint64_t number = latest_view()->cameras[static_cast<std::size_t>(camera)].picture;
    if (number == 0) {
        return false;
    }
    auto last = last_picture(camera, width);
    if (!picture || picture->number != number) {
        want_picture(camera, width, Wanted::streamed);
    }
    const bool fresh =
        last && last->number >= least && !last->jpeg.empty() && (!picture || last->number > picture->number);
    if (!fresh && (!picture || now < repeat)) {
        again = picture ? repeat : now + kRepeat;
        return true;
    }
    if (fresh) {
        picture = std::move(last);
    }
    next = std::max(next + kPicturePeriod, now);
    repeat = fresh ? next : now + kRepeat;
    const std::string& jpeg = picture->jpeg;
    part = "--picture\r\nContent-Type: image/jpeg\r\nContent-Length: " + std::to_string(jpeg.size()) + "\r\n\r\n";
    part.append(jpeg).append("\r\n");
    return true;
}

/// A stream of events, and what its page was told last.
struct News {
    std::shared_ptr<const View> told;               ///< the last state
    std::array<std::uint64_t, kCameras> pictures{}; ///< their numbers
    std::uint64_t line = 0;
    Clock::time_point state = Clock::now(); ///< when the next may follow
    Clock::time_point picture = Clock::now();
    Clock::time_point sent;

    bool operator()(std::string& part, Clock::time_point& again);
};

std::string event(std::string_view name, const Json& data)
{
    return "event: " + std::string(name) + "\ndata: " + text_of(data) + "\n\n";
}

std::string changed_settings(const View& view, const View* before)
{
    std::string text;
    for (std::size_t id = 0; id < kCameras; ++id) {
        Json changed = stored_json(view.cameras[id]);
        const Json old = before != nullptr ? stored_json(before->cameras[id]) : Json::object();
        for (auto it = changed.begin(); it != changed.end();) {
            it = old.contains(it.key()) && old[it.key()] == *it ? changed.erase(it) : std::next(it);
        }
        text += changed.empty() ? "" : event("settings", {{"camera", id}, {"settings", changed}});
    }
    return text;
}

std::string changed_pictures(const View& view, std::array<std::uint64_t, kCameras>& told)
{
    Json changed = Json::object();
    for (std::size_t id = 0; id < kCameras; ++id) {
        if (view.cameras[id].picture != told[id]) {
            told[id] = view.cameras[id].picture;
            changed[std::to_string(id)] = told[id];
        }
    }
    return changed.empty() ? "" : event("pictures", changed);
}

bool News::operator()(std::string& part, Clock::time_point& again)
{
    const Clock::time_point now = Clock::now();
    const std::shared_ptr<const View> view = latest_view();
    if (now >= picture) {
        part = changed_pictures(*view, pictures);
        picture = part.empty() ? picture : now + kPicturePeriod;
    }
    if (now >= state) {
        state = now + kStatePeriod;
        if (view != told) {
            part += changed_settings(*view, told.get());
            part += event("state", state_json(*view, false));
            told = view;
        }
        if (const Json lines = log_lines_after(line); !lines.empty()) {
            line = lines.back()["number"];
            part += event("log", lines);
        }
    }
    if (part.empty() && now - sent >= kHeartbeat) {
        part = ":\n\n"; // finds out whether the page is still there
    }
    again = now < picture ? std::min(picture, state) : state;
    sent = part.empty() ? sent : now;
    return true;
}

} // namespace

Feed picture_feed(int camera, int width)
{
    const std::uint64_t least = latest_view()->cameras[static_cast<std::size_t>(camera)].picture;
    return Pictures{.camera = camera, .width = width, .least = least};
}

Feed event_feed()
{
    return News{};
}

} // namespace live
