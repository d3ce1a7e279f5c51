// The interface of the pages: what it answers, whom it refuses, and what a bad client costs.
#include "live/pictures.h"
#include "live/server.h"
#include "session/bad_input.h"
#include "session/cameras.h"
#include "session/files.h"
#include "support/bench.h"
#include "support/session.h"
#include "support/threads.h"

#include <nlohmann/json.hpp>

#include <sys/resource.h>
#include <sys/stat.h>

namespace
{

using namespace std::chrono_literals;
using Json = nlohmann::json;
using testing::HasSubstr;

/// Limits that a bad client soon meets.
constexpr live::Limits kShort{
    .connections = 12, .of_address = 12, .streams = 12, .request = 500ms, .idle = 2000ms, .stall = 300ms};

using Headers = std::map<std::string, std::string>;

struct Reply {
    int status = 0; ///< 0 without an answer
    std::string head;
    std::string body;

    explicit Reply(const std::string& text)
    {
        const std::size_t end = text.find("\r\n\r\n");
        if (text.starts_with("HTTP/1.1 ") && end != std::string::npos) {
            status = std::stoi(text.substr(9));
            head = text.substr(0, end);
            body = text.substr(end + 4);
        }
    }

    std::string header(const std::string& name) const
    {
        const std::size_t place = head.find("\r\n" + name + ": ");
        const std::size_t value = place + name.size() + 4;
        return place == std::string::npos ? "" : head.substr(value, head.find("\r\n", value) - value);
    }
};

/// A session with camera 0, served. A busy machine must not make a good client look like a bad one, so its limits are
/// wide.
class Live : public bench::OpenSession
{
protected:
    explicit Live(const live::Limits& limits = {.request = 60s, .idle = 60s, .stall = 60s})
    {
        session::keep_time_paced();
        EXPECT_TRUE(session::start_camera(0));
        const std::string url = live::start_serving(session::address_of("0"), limits);
        EXPECT_THAT(url, testing::MatchesRegex("http://127.0.0.1:[0-9]+/"));
        port = std::stoi(url.substr(url.rfind(':') + 1));
    }

    ~Live() override
    {
        live::stop_serving();
        sim::use_virtual_time(); // in which nothing more happens
    }

    /// A connection whose bytes the test chooses.
    int connect_raw(int receive_buffer = 0) const
    {
        return bench::client_of(port, SOCK_STREAM, receive_buffer);
    }

    static void send_raw(int sock, const std::string& bytes)
    {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t count = send(sock, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) {
                return; // the server has ended the connection
            }
            sent += static_cast<std::size_t>(count);
        }
    }

    /// What comes until the server ends the connection; empty too when it does not end it.
    static std::string read_all(int sock)
    {
        std::string text;
        char buffer[65536];
        for (;;) {
            const ssize_t count = TEMP_FAILURE_RETRY(recv(sock, buffer, sizeof buffer, 0));
            if (count < 0 && errno != ECONNRESET) {
                ADD_FAILURE() << "the connection does not end: " << std::strerror(errno);
                text.clear();
            }
            if (count <= 0) {
                close(sock);
                return text;
            }
            text.append(buffer, static_cast<std::size_t>(count));
        }
    }

    std::string host() const
    {
        return "Host: 127.0.0.1:" + std::to_string(port) + "\r\n";
    }

    /// A whole request; Host and, with a body, Content-Type are what they should be where none is given.
    Reply ask(const std::string& method, const std::string& path, const std::string& body = "",
              const Headers& headers = {}) const
    {
        std::string text = method + " " + path + " HTTP/1.1\r\nConnection: close\r\n";
        for (const auto& [name, value] : headers) {
            text += name + ": " + value + "\r\n";
        }
        if (!headers.contains("Host")) {
            text += host();
        }
        if (method == "PUT" || method == "POST" || !body.empty()) {
            text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
            text += headers.contains("Content-Type") ? "" : "Content-Type: application/json\r\n";
        }
        const int sock = connect_raw();
        send_raw(sock, text + "\r\n" + body);
        return Reply(read_all(sock));
    }

    Reply run(const std::string& line) const
    {
        return ask("POST", "/api/command", Json{{"line", line}}.dump());
    }

    int put(const std::string& name, int value) const
    {
        return ask("PUT", "/api/cameras/0/settings/" + name, "{\"value\": " + std::to_string(value) + "}").status;
    }

    /// Reads a stream until `enough` says so of what came so far.
    void read_stream(const std::string& path, const std::function<bool(const std::string&)>& enough) const
    {
        const int sock = connect_raw();
        send_raw(sock, "GET " + path + " HTTP/1.1\r\n" + host() + "\r\n");
        std::string told;
        char buffer[65536];
        while (!enough(told)) {
            const ssize_t count = TEMP_FAILURE_RETRY(recv(sock, buffer, sizeof buffer, 0));
            if (count <= 0) {
                ADD_FAILURE() << path << " ends with " << told.substr(0, 300);
                break;
            }
            told.append(buffer, static_cast<std::size_t>(count));
        }
        close(sock);
    }

    int stored(const char* name) const
    {
        return sim::host::stored(0, *sim::host::find_setting(name));
    }

    int port = 0;
};

TEST_F(Live, EachRequestGetsItsAnswerOrOneLineThatSaysWhyNot)
{
    struct Row {
        const char* method;
        std::string path;
        Headers headers;
        std::string body;
        int status;
        const char* says;
    };
    const std::string at = ":" + std::to_string(port);
    const std::string of0 = "/api/cameras/0/settings/";
    const std::string hue = of0 + "hue";
    const std::string command = "/api/command";
    const Row rows[] = {
        {"GET", "/", {}, "", 200, "<title>isp-sim"},
        {"GET", "/vendor/uplot.js", {}, "", 200, "uPlot"},
        {"HEAD", "/", {}, "", 200, ""},
        {"GET", "/api/settings", {}, "", 200, R"("name":"saturation")"},
        {"GET", "/api/state", {}, "", 200, R"("exposure_mode":0)"},
        {"GET", "/api/state", {{"Host", "localhost" + at}, {"Origin", "http://localhost" + at}}, "", 200, "cameras"},
        {"GET", "/api/state", {{"Host", "[::1]" + at}}, "", 200, "cameras"},
        {"GET", "/api/cameras/0/picture.jpg", {}, "", 200, "\xFF\xD8\xFF"},
        {"GET", "/api/cameras/0/picture.jpg?width=1", {}, "", 200, "\xFF\xD8\xFF"},
        {"PUT", hue, {}, R"({"value": 9})", 200, R"({"result":0,"stored":9,"text":""})"},
        {"PUT", of0 + "gamma", {}, R"({"value": "0.63"})", 200, R"({"result":0,"stored":4,"text":""})"},
        {"PUT", of0 + "shutter", {}, R"({"value": "1/500"})", 200, R"("text":"not stored: auto does not use it"})"},
        {"PUT", "/api/cameras/5/settings/hue", {}, R"({"value": 3})", 200, R"("text":"no engine: stored"})"},
        {"PUT", of0 + "shading", {}, "{}", 200, R"("result":0)"},
        {"POST", command, {}, R"({"line": "show 0 hue"})", 200, "hue"},
        {"POST", command, {}, R"({"line": ""})", 200, R"({"output":""})"},

        {"GET", "/api/state", {{"Host", "camera.example" + at}}, "", 400, "another name"},
        {"GET", "/api/state", {{"Host", "127.0.0.1:1"}}, "", 400, "another name"},
        {"PUT", hue, {{"Origin", "http://camera.example"}}, R"({"value": 1})", 400, "other sites"},
        {"PUT", hue, {{"Origin", "null"}}, R"({"value": 1})", 400, "other sites"},
        {"GET", "/api/cameras/0/picture.jpg", {{"Sec-Fetch-Site", "cross-site"}}, "", 400, "other sites"},
        {"PUT", hue, {{"Content-Type", "text/plain"}}, R"({"value": 1})", 415, "application/json"},
        {"POST", command, {{"Content-Type", "application/x-www-form-urlencoded"}}, "line=stop+0", 415, "json"},
        {"DELETE", hue, {}, "", 405, "PUT"},
        {"GET", command, {}, "", 405, "POST"},
        {"OPTIONS", hue, {}, "", 405, "PUT"},
        {"GET", "/nothing", {}, "", 404, "/nothing"},
        {"GET", "/../../etc/passwd", {}, "", 404, "nothing at"},
        {"GET", "/%2e%2e/%2e%2e/etc/passwd", {}, "", 404, "nothing at"},
        {"GET", "/api/cameras/8/picture.jpg", {}, "", 404, "nothing at"},
        {"GET", "/api/cameras/N/picture.jpg", {}, "", 404, "nothing at"},
        {"GET", "/api/cameras/5/picture.jpg", {}, "", 404, "camera 5 has no engine"},
        {"GET", "/api/cameras/5/stream", {}, "", 404, "camera 5 has no engine"},
        {"GET", "/api/cameras/0/picture.jpg?width=99999", {}, "", 400, "a width is"},
        {"GET", "/api/cameras/0/picture.jpg?width=-1", {}, "", 400, "a width is"},
        {"PUT", of0 + "colour", {}, R"({"value": 1})", 404, "there is no setting colour"},
        {"PUT", of0 + "struct_ver", {}, R"({"value": 1})", 405, "cannot be set"},
        {"PUT", hue, {}, R"({"value": 15})", 400, "hue accepts 0 to 14"},
        {"PUT", hue, {}, R"({"value": 99999999999999999999})", 400, "a body is"},
        {"PUT", hue, {}, R"({"value": 1.5})", 400, "a body is"},
        {"PUT", hue, {}, R"({"value": "1 0"})", 400, "hue accepts"},
        {"PUT", hue, {}, R"({"value": null})", 400, "a body is"},
        {"PUT", hue, {}, R"({"value": 1)", 400, "JSON object"},
        {"PUT", hue, {}, std::string(60000, '['), 400, "JSON object"},
        {"PUT", hue, {}, "", 400, "JSON object"},
        {"PUT", hue, {}, std::string(70000, ' '), 413, "64 KiB"},
        {"POST", command, {}, R"({"line": "frobnicate"})", 400, "there is no command frobnicate"},
        {"POST", command, {}, R"({"line": "quit"})", 400, "own prompt"},
        {"POST", command, {}, R"({"line": "echo a\nquit"})", 400, "one line"},
        {"POST", command, {}, "{\"line\": \"echo \xFF\"}", 400, "JSON object"},
        {"POST", command, {}, R"({"line": "record ../run.csv"})", 400, "folder files"},
        {"POST", command, {}, R"({"line": "render 0 /tmp/isp_live.png"})", 400, "folder files"},
        {"POST", command, {}, R"({"line": "save 0 link.ini"})", 400, "folder files"},
        {"POST", command, {}, R"({"line": "save 0 settings.ini"})", 200, "wrote"}, // in a folder of its own
        {"GET", "/api/files/settings%2Eini", {}, "", 200, "hue = 9\n"},
        {"GET", "/api/files/link.ini", {}, "", 404, "no file"},
        {"GET", "/api/files/pipe", {}, "", 404, "no file"},
        {"GET", "/api/files/none", {}, "", 404, "no file"},
        {"GET", "/api/files/..", {}, "", 404, "no file"},
        {"GET", "/api/files/..%2Fsettings.ini", {}, "", 404, "no file"},
        {"GET", "/api/files/%00", {}, "", 404, "nothing at"},
        {"PUT", "/api/files/a.jpg", {}, "\xFF\xD8 and so on", 200, "a.jpg"},
        {"PUT", "/api/files/link.ini", {}, "\x89PNG", 200, "link.ini"}, // it is a file then
        {"PUT", "/api/files/b.jpg", {}, "MZ", 400, "PNG or JPEG"},
        {"PUT", "/api/files/..%2Fa.jpg", {}, "\x89PNG", 404, "no file"},
        {"PUT", "/api/files/c.jpg", {}, std::string((20 << 20) + 1, ' '), 413, "20480 KiB"},
        {"GET", "/api/files", {}, "", 200, R"(["a.jpg","link.ini","settings.ini"])"},
    };
    const std::string files = session::named_files_folder();
    std::filesystem::create_symlink(folder + "/settings.ini", files + "/link.ini");
    mkfifo((files + "/pipe").c_str(), 0600);
    for (const Row& row : rows) {
        const Reply reply = ask(row.method, row.path, row.body, row.headers);
        const std::string what = std::string(row.method) + " " + row.path + " " + row.body.substr(0, 60);
        EXPECT_EQ(reply.status, row.status) << what << ": " << reply.body.substr(0, 200);
        EXPECT_THAT(reply.body, HasSubstr(row.says)) << what;
        if (row.status >= 400) {
            const Json body = Json::parse(reply.body, nullptr, false);
            ASSERT_TRUE(body.is_object() && body.contains("error")) << what;
            EXPECT_EQ(body["error"].get<std::string>().find('\n'), std::string::npos) << what;
        }
        EXPECT_THAT(reply.header("Content-Security-Policy"), HasSubstr("default-src 'self'")) << what;
    }
    EXPECT_EQ(stored("hue"), 9);
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(folder).parent_path() / "run.csv"));
    EXPECT_EQ(session::cameras_with_engine(), std::vector<int>{0});
}

TEST_F(Live, EventsTellWhatChangedFromAnywhere)
{
    bool changed = false;
    read_stream("/api/events", [&](const std::string& told) {
        if (!changed && told.find("event: state") != std::string::npos) { // the page is there
            changed = true;
            EXPECT_EQ(put("hue", 2), 200);
            EXPECT_EQ(run("set 3 contrast 4").status, 200);
            sim::host::store(0, *sim::host::find_setting("drc"), 5); // as the library itself would
        }
        const char* const news[] = {R"("hue":2)", R"("contrast":4)", R"("drc":5)", "KIV_Set_hue: ", "event: pictures"};
        return std::ranges::all_of(news, [&](const char* one) { return told.find(one) != std::string::npos; });
    });
    EXPECT_EQ(stored("hue"), 2);
}

TEST_F(Live, AllWaysOfChangingASettingShareOneHistory)
{
    run("set 0 hue 3");
    put("saturation", 12);
    put("saturation", 13); // goes on
    run("set 1 drc 4");
    EXPECT_EQ(put("contrast", 9), 200);
    EXPECT_THAT(run("changes 0").body, HasSubstr("acp.contrast"));
    EXPECT_THAT(run("changes 0").body, testing::Not(HasSubstr("acp.saturation")));
    EXPECT_EQ(
        ask("PUT", "/api/cameras/0/settings", R"({"settings": {"hue": 5, "gamma": "0.63", "csc_mode": 3}})").status,
        200);
    EXPECT_EQ(ask("GET", "/api/cameras/0/settings/gamma").body, R"({"value":4,"name":"0.63"})");
    EXPECT_THAT(ask("GET", "/api/cameras/0/settings").body, HasSubstr(R"("csc_mode":3)"));
    EXPECT_EQ(ask("PUT", "/api/cameras/0/settings", R"({"settings": {"hue": 6, "drc": 99}})").status, 400);
    EXPECT_THAT(ask("GET", "/api/state").body, HasSubstr(R"("undo":"camera 0: all settings")"));
    for (const char* undone : {"hue *3 *.before 5", "contrast *7 *.before 9", "drc *0 *.before 4",
                               "saturation *7 *.before 13", "hue *7 *.before 3", "nothing to undo"}) {
        EXPECT_THAT(run("undo").body, testing::ContainsRegex(undone));
    }
}

// At a pace at which it would take minutes: a command that holds a camera for too long goes on at a fast one.
TEST_F(Live, ACommandThatHoldsACameraHoldsUpNoOtherAndItsOwnNotForLong)
{
    put("wb_mode", ONE_PUSH_WHITE_BALANCE);
    EXPECT_EQ(run("speed 0.01").status, 200);
    std::atomic<bool> measured = false;
    std::thread onepush([&] {
        EXPECT_EQ(run("set 0 wb_mode_onepush").status, 200);
        measured = true;
    });
    read_stream("/api/events",
                [](const std::string& told) { return told.find(R"("busy":"wb_mode_onepush")") != std::string::npos; });
    EXPECT_EQ(ask("PUT", "/api/cameras/1/settings/hue", R"({"value": 3})").status, 200);
    EXPECT_EQ(run("show 1 hue").status, 200);
    EXPECT_FALSE(measured);
    EXPECT_EQ(put("hue", 4), 200); // waits for its camera
    EXPECT_TRUE(sim::now() > 3000000);
    onepush.join();
    EXPECT_THAT(ask("GET", "/api/state").body, HasSubstr(R"("speed":0.01,)"));
}

// The single one was made last before, so that in a common row its turn would come last.
TEST_F(Live, PicturesOfManyStreamsDoNotHoldUpASingleOne)
{
    std::vector<std::pair<int, int>> streamed; // cameras and widths
    for (int camera = 0; camera < session::kCameras; ++camera) {
        EXPECT_TRUE(session::start_camera(camera));
        for (int width = 2 * live::kWidthStep; width <= 4 * live::kWidthStep; width += live::kWidthStep) {
            streamed.emplace_back(camera, width);
        }
    }
    std::uint64_t before = 0; // numbers of pictures
    const auto is_new = [&](std::pair<int, int> of) {
        const auto last = live::last_picture(of.first, of.second);
        return last && last->number > before;
    };
    const auto want = [](std::pair<int, int> of, live::Wanted kind) { live::want_picture(of.first, of.second, kind); };
    const std::pair<int, int> single{0, live::kWidthStep};
    live::take_view();
    std::ranges::for_each(streamed, [&](const auto& one) { want(one, live::Wanted::streamed); });
    EXPECT_TRUE(bench::eventually([&] { return std::ranges::all_of(streamed, is_new); }));
    want(single, live::Wanted::single);
    EXPECT_TRUE(bench::eventually([&] { return is_new(single); }));
    const auto view = live::latest_view();
    for (const live::Camera& camera : view->cameras) {
        before = std::max(before, camera.picture);
    }
    std::this_thread::sleep_for(300ms); // the noise is another
    std::ranges::for_each(streamed, [&](const auto& one) { want(one, live::Wanted::streamed); });
    want(single, live::Wanted::single);
    EXPECT_TRUE(bench::eventually([&] { return is_new(single); }));
    EXPECT_LT(std::ranges::count_if(streamed, is_new), 12) << "of 24";
}

TEST_F(Live, WithoutAThreadOrADescriptorItServesWhomItCan)
{
    {
        const bench::NoThreads none;
        EXPECT_THAT(run("list").body, HasSubstr("no thread left"));
        EXPECT_EQ(ask("GET", "/api/state").status, 200);
    }
    EXPECT_EQ(run("list").status, 200);

    const std::string get = "GET /api/files/none HTTP/1.1\r\n" + host();
    const int served = connect_raw();
    send_raw(served, "GET /api/files HTTP/1.1\r\n" + host() + "\r\n"); // after this answer the connection stays
    char byte = 0;
    EXPECT_EQ(recv(served, &byte, 1, 0), 1);
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    std::vector<int> taken = {dup(served)};
    const rlimit few{.rlim_cur = static_cast<rlim_t>(taken[0]) + 1, .rlim_max = files.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    const auto take_all = [&] {
        for (int next = dup(served); next >= 0; next = dup(served)) { // also of connections that have ended just now
            taken.push_back(next);
        }
    };
    take_all();
    close(taken.back());
    taken.pop_back();
    const int late = connect_raw(); // the last descriptor is at this end
    EXPECT_GE(late, 0);
    take_all();
    send_raw(served, get + "Connection: close\r\n\r\n");
    EXPECT_THAT(read_all(served), HasSubstr("Too many open files"));
    setrlimit(RLIMIT_NOFILE, &files);
    std::ranges::for_each(taken, close);
    send_raw(late, get + "Connection: close\r\n\r\n");
    EXPECT_EQ(Reply(read_all(late)).status, 404) << "it waited until there was one";
}

TEST_F(Live, WhatATrialVariesIsPutBackAndNothingElse)
{
    std::atomic<bool> done = false;
    std::thread trial([&] {
        const Reply reply = run("compare 0 gamma 0.42 0.63 a.jpg");
        EXPECT_EQ(reply.status, 200) << reply.body;
        done = true;
    });
    read_stream("/api/events", [&](const std::string& told) {
        if (told.find("KIV_Set_gamma: ") != std::string::npos && stored("contrast") == 7) {
            EXPECT_EQ(put("contrast", 9), 200);
            EXPECT_FALSE(done);
        }
        EXPECT_EQ(told.find(R"({"0":0})"), std::string::npos) << "a camera on trial keeps its picture";
        EXPECT_EQ(told.find(R"("gamma":4)"), std::string::npos) << "a value that is only tried is shown";
        return done.load();
    });
    trial.join();
    EXPECT_EQ(stored("contrast"), 9);
    EXPECT_EQ(stored("gamma"), ISP_GAMMA_0_45);
}

TEST_F(Live, APictureIsSentOnceUntilItChangesAndShowsASettingAtOnce)
{
    const auto picture = [&](const std::string& tag) {
        return ask("GET", "/api/cameras/0/picture.jpg?width=320", "", {{"If-None-Match", tag}});
    };
    std::this_thread::sleep_for(1500ms); // exposure and white balance settle
    std::string tag;
    EXPECT_TRUE(bench::eventually([&] { // the noise is new a few times a second
        tag = picture("").header("ETag");
        return picture(tag).status == 304;
    }));
    ASSERT_EQ(put("luminance", 14), 200);
    EXPECT_EQ(picture(tag).status, 200);
}

TEST_F(Live, AStreamSendsEachChangeTwiceAndThenOnceASecond)
{
    std::this_thread::sleep_for(1500ms);
    const std::string part = "--picture\r\nContent-Type: image/jpeg\r\n";
    const auto parts = [&](const std::string& told) {
        std::size_t count = 0;
        for (std::size_t place = told.find(part); place != std::string::npos; place = told.find(part, place + 1)) {
            ++count;
        }
        return count;
    };
    bool changed = false;
    read_stream("/api/cameras/0/stream?width=160", [&](const std::string& told) {
        if (!changed && parts(told) >= 3) { // while nothing changes
            changed = true;
            EXPECT_EQ(put("luminance", 3), 200);
        }
        return parts(told) >= 5;
    });
}

class BadClients : public Live
{
protected:
    BadClients() : Live(kShort) {}
};

TEST_F(BadClients, CostOnlyThemselves)
{
    const std::string put =
        "PUT /api/cameras/0/settings/hue HTTP/1.1\r\n" + host() + "Content-Type: application/json\r\n";

    // Heads and bodies without an end, sent fast: an answer or none, but an end.
    for (const std::string& start : {std::string("GET / HTTP/1.1\r\nX: "), std::string("GET /"),
                                     put + "Transfer-Encoding: chunked\r\n\r\n1000000\r\n", put + "X-A: "}) {
        const int sock = connect_raw();
        send_raw(sock, start + std::string(4 << 20, 'a'));
        read_all(sock);
    }
    // A request that is never finished, and one that trickles.
    for (const std::string& start : {std::string("GET / HTT"), put + "Content-Length: 10\r\n\r\n{"}) {
        const int sock = connect_raw();
        send_raw(sock, start);
        read_all(sock);
    }
    const int trickle = connect_raw();
    const auto begun = std::chrono::steady_clock::now();
    while (send(trickle, "G", 1, MSG_NOSIGNAL) == 1 && std::chrono::steady_clock::now() - begun < 10s) {
        std::this_thread::sleep_for(50ms);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begun, 8s);
    close(trickle);

    // Pages that take nothing of their stream are dropped, so that the places are free again.
    std::vector<int> stalled;
    for (int i = 0; i < kShort.connections; ++i) {
        stalled.push_back(connect_raw(4096));
        send_raw(stalled.back(), "GET /api/cameras/0/stream?width=960 HTTP/1.1\r\n" + host() + "\r\n");
    }
    EXPECT_EQ(ask("GET", "/api/state").status, 503) << "no room for another connection";
    int status = 503;
    for (int change = 0; status != 200 && change < 200; ++change) {
        bench::set(0, "luminance", change % 15);
        std::this_thread::sleep_for(100ms); // a picture that differs is sent
        status = ask("GET", "/api/state").status;
    }
    EXPECT_EQ(status, 200);
    std::for_each(stalled.begin(), stalled.end(), close);
}

TEST_F(BadClients, HaveNothingTakenForARequestThatIsTheBodyOfOne)
{
    const std::string inner = "PUT /api/cameras/0/settings/hue HTTP/1.1\r\n" + host() +
                              "Content-Type: application/json\r\nContent-Length: 12\r\n\r\n{\"value\": 3}";
    const std::string length = "Content-Length: " + std::to_string(inner.size()) + "\r\n";
    const std::string chunked = "Transfer-Encoding: chunked\r\n";
    const std::string json = "Content-Type: application/json\r\n";
    const std::string heads[] = {
        "POST /" + std::string(9000, 'a') + " HTTP/1.1\r\n" + host() + length,
        "POST /" + std::string(90000, 'a') + " HTTP/1.1\r\n" + host() + length,
        "POST / HTTP/1.1\r\n" + host() + "X: " + std::string(90000, 'a') + "\r\n" + length,
        "GET /api/state HTTP/1.1\r\n" + host() + length,
        "HEAD /api/state HTTP/1.1\r\n" + host() + length,
        "GET /api/state HTTP/1.1\r\n" + host() + chunked,
        "POST /api/command HTTP/1.1\r\n" + host() + json + "Content-Length: 0\r\n" + length,
        "POST /api/command HTTP/1.1\r\n" + host() + json + length + "Content-Length: 0\r\n",
        "POST /api/command HTTP/1.1\r\n" + host() + json + "Content-Length: 0\r\n" + chunked,
        "POST /api/command HTTP/1.1\r\n" + host() + json + chunked + length,
        "POST /api/command HTTP/1.1\r\n" + host() + json + "Transfer-Encoding: gzip\r\n",
        "POST /api/command HTTP/1.1\r\nHost: camera.example\r\n" + json + length,
        "DELETE /api/command HTTP/1.1\r\n" + host() + "Content-Length: 1000000000\r\n",
    };
    for (const std::string& head : heads) {
        const int sock = connect_raw();
        send_raw(sock, head + "\r\n" + inner);
        const std::string told = read_all(sock);
        EXPECT_EQ(told.find("HTTP/1.1 ", 1), std::string::npos) << head.substr(0, 200) << ":\n" << told;
        EXPECT_EQ(stored("hue"), 7) << head.substr(0, 200);
    }
}

TEST_F(BadClients, LeaveAndTheirPlacesAreFree)
{
    for (int i = 0; i < kShort.streams; ++i) {
        const int sock = connect_raw();
        send_raw(sock, "GET /api/events HTTP/1.1\r\n" + host() + "\r\n");
        char byte = 0;
        EXPECT_EQ(recv(sock, &byte, 1, 0), 1);
        close(sock);
    }
    read_stream("/api/events", [](const std::string& told) { return told.find("event: state") != std::string::npos; });
}

TEST_F(BadClients, LeaveAndTheirCommandsEnd)
{
    const std::string line = R"({"line": "run 1440min"})";
    const auto answers = [&](int status) { return [this, status] { return run("").status == status; }; };
    for (const bool at_once : {true, false}) {
        std::vector<int> socks;
        for (int i = 0; i < kShort.commands; ++i) {
            socks.push_back(connect_raw());
            send_raw(socks.back(), "POST /api/command HTTP/1.1\r\n" + host() +
                                       "Content-Type: application/json\r\nContent-Length: " +
                                       std::to_string(line.size()) + "\r\n\r\n" + line);
        }
        EXPECT_TRUE(at_once || bench::eventually(answers(503))) << "all run";
        EXPECT_EQ(put("hue", 3), 200) << "settings are not held up";
        std::for_each(socks.begin(), socks.end(), close);
    }
    EXPECT_TRUE(bench::eventually(answers(200)));
}

TEST_F(Live, HasItsPortForItself)
{
    live::Address taken{.host = "127.0.0.1", .port = port};
    EXPECT_THROW(session::listen_at(taken), session::BadInput);
}

TEST(LiveAddress, IsAPortOrAHostAndAPort)
{
    EXPECT_EQ(session::address_of("8080").host, "127.0.0.1");
    EXPECT_EQ(session::address_of("[::1]:80").host, "[::1]");
    EXPECT_EQ(session::address_of("camera.local:80").port, 80);
    for (const char* wrong : {"", "x", "65536", "-1", "1.5", "host:", ":80", "80 ", "::1:80", "[::1:80"}) {
        EXPECT_THROW(session::address_of(wrong), session::BadInput) << wrong;
    }
}

} // namespace
