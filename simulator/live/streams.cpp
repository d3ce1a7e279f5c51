#include "live/streams.h"

#include "live/interface.h"
#include "live/log_lines.h"
#include "live/pictures.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace live
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kStatePeriod{100};
constexpr std::chrono::milliseconds kPicturePeriod{40};
constexpr std::chrono::seconds kRepeat{1};
constexpr std::chrono::seconds kHeartbeat{5};

/// What the viewer of a stream was sent last.
struct Shown {
    std::shared_ptr<const Picture> picture;
    std::uint64_t least = 0; ///< pictures before it were there when the stream began, and may be long out of date
    Clock::time_point next = Clock::now();
    Clock::time_point repeat;
};

Next next_picture(Shown& shown, int camera, int width, std::string& part, Clock::time_point& again)
{
    const Clock::time_point now = Clock::now();
    again = shown.next;
    if (now < shown.next) {
        return Next::later;
    }
    const std::uint64_t number = latest_view()->cameras[static_cast<std::size_t>(camera)].picture;
    if (number == 0) {
        return Next::end;
    }
    auto last = last_picture(camera, width);
    if (!shown.picture || shown.picture->number != number) {
        want_picture(camera, width, Wanted::streamed);
    }
    const bool fresh = last && last->number >= shown.least && !last->jpeg.empty() &&
                       (!shown.picture || last->number > shown.picture->number);
    if (!fresh && (!shown.picture || now < shown.repeat)) {
        again = shown.picture ? shown.repeat : now + kRepeat;
        return Next::later;
    }
    if (fresh) {
        shown.picture = std::move(last);
    }
    shown.next = std::max(shown.next + kPicturePeriod, now);
    shown.repeat = fresh ? shown.next : now + kRepeat;
    const std::string& jpeg = shown.picture->jpeg;
    part = "--picture\r\nContent-Type: image/jpeg\r\nContent-Length: " + std::to_string(jpeg.size()) + "\r\n\r\n";
    part.append(jpeg).append("\r\n");
    return Next::part;
}

/// What a page was told last.
struct Told {
    std::shared_ptr<const View> view;               ///< of the last state
    std::array<std::uint64_t, kCameras> pictures{}; ///< their numbers
    std::uint64_t line = 0;
    Clock::time_point state = Clock::now(); ///< when the next may follow
    Clock::time_point picture = Clock::now();
    Clock::time_point sent;
};

std::string event(std::string_view name, const Json& data)
{
    return "event: " + std::string(name) + "\ndata: " + text_of(data) + "\n\n";
}

std::string changed_settings(const View& view, const View* before)
{
    std::string text;
    for (std::size_t id = 0; id < kCameras; ++id) {
        const Camera& now = view.cameras[id];
        if (before != nullptr && std::memcmp(&now.settings, &before->cameras[id].settings, sizeof now.settings) == 0 &&
            now.csc_mode == before->cameras[id].csc_mode) {
            continue;
        }
        Json changed = stored_json(now);
        if (before != nullptr) {
            const Json old = stored_json(before->cameras[id]);
            for (auto it = changed.begin(); it != changed.end();) {
                it = old[it.key()] == *it ? changed.erase(it) : std::next(it);
            }
        }
        text += event("settings", {{"camera", id}, {"settings", changed}});
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

std::string log_lines(std::uint64_t& told)
{
    Json lines = Json::array();
    for (const Line& line : log_lines_after(told)) {
        lines.push_back({{"number", line.number},
                         {"time", line.seconds},
                         {"camera", line.camera >= 0 ? Json(line.camera) : Json()},
                         {"level", line.level},
                         {"text", line.text}});
        told = line.number;
    }
    return lines.empty() ? "" : event("log", lines);
}

Next next_news(Told& told, std::string& part, Clock::time_point& again)
{
    const Clock::time_point now = Clock::now();
    const std::shared_ptr<const View> view = latest_view();
    part.clear();
    if (now >= told.picture) {
        part += changed_pictures(*view, told.pictures);
        if (!part.empty()) {
            told.picture = now + kPicturePeriod;
        }
    }
    if (now >= told.state) {
        told.state = now + kStatePeriod;
        if (view != told.view) {
            part += changed_settings(*view, told.view.get());
            part += event("state", state_json(*view));
            told.view = view;
        }
        part += log_lines(told.line);
    }
    if (part.empty() && now - told.sent >= kHeartbeat) {
        part = ":\n\n"; // finds out whether the page is still there
    }
    again = now < told.picture ? std::min(told.picture, told.state) : told.state;
    if (part.empty()) {
        return Next::later;
    }
    told.sent = now;
    return Next::part;
}

} // namespace

Feed picture_feed(int camera, int width)
{
    const auto shown = std::make_shared<Shown>();
    shown->least = latest_view()->cameras[static_cast<std::size_t>(camera)].picture;
    return [camera, width, shown](std::string& part, Clock::time_point& again) {
        return next_picture(*shown, camera, width, part, again);
    };
}

Feed event_feed()
{
    return [told = std::make_shared<Told>()](std::string& part, Clock::time_point& again) {
        return next_news(*told, part, again);
    };
}

} // namespace live
