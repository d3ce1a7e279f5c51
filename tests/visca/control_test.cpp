// The service in front of a simulated camera: what the camera holds and shows after each command, and many clients.
#include "control/service.h"
#include "host/store.h"
#include "picture/picture.h"
#include "session/cameras.h"
#include "session/change.h"
#include "session/lanes.h"
#include "session/look.h"
#include "support/bench.h"
#include "support/session.h"
#include "support/threads.h"
#include "visca/codec.h"

namespace
{

using sim::host::find_setting;
using visca::Bytes;

/// A session with camera 0 in virtual time, served.
class Control : public bench::OpenSession
{
protected:
    Control()
    {
        EXPECT_TRUE(session::start_camera(0));
        port = control::start_service(session::address_of("0"));
    }
    ~Control() override
    {
        control::stop_service();
    }

    int client(int camera = 0, int type = SOCK_STREAM) const
    {
        return bench::client_of(port + camera, type);
    }

    /// What comes until it is as long as expected, or the connection ends; with a mark between datagrams.
    static std::string hear(int sock, std::size_t length)
    {
        int type = 0;
        socklen_t size = sizeof type;
        getsockopt(sock, SOL_SOCKET, SO_TYPE, &type, &size);
        std::string heard;
        for (Bytes more(64); heard.size() < length; more.resize(64)) {
            const ssize_t count = TEMP_FAILURE_RETRY(recv(sock, more.data(), more.size(), 0));
            if (count <= 0) {
                return heard + " end";
            }
            more.resize(static_cast<std::size_t>(count));
            heard += (heard.empty() ? "" : type == SOCK_DGRAM ? " | " : " ") + visca::text_of(more);
        }
        return heard;
    }

    static std::string answer(int sock, const std::string& text, std::size_t length)
    {
        std::istringstream words(text);
        Bytes bytes;
        for (int byte = 0; words >> std::hex >> byte;) {
            bytes.push_back(static_cast<std::uint8_t>(byte));
        }
        sim::step_aside(); // a command may wait
        send(sock, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        return hear(sock, length);
    }

    static void ask(int sock, const std::string& text, const std::string& replies)
    {
        EXPECT_EQ(answer(sock, text, replies.size()), replies) << text;
    }

    static std::string three(int code)
    {
        return visca::text_of({static_cast<std::uint8_t>(code >> 16), static_cast<std::uint8_t>(code >> 8),
                               static_cast<std::uint8_t>(code)});
    }

    static void set(std::string_view name, int value)
    {
        session::change_setting(0, *find_setting(name), value, session::Origin::prompt);
    }

    static sim::picture::Image picture()
    {
        sim::wait(10'000'000);
        sim::picture::Look look = session::look_of(0);
        look.frame = 0;
        return sim::picture::render(look, 160, 120);
    }

    const std::string done = "90 41 FF 90 51 FF";
    int port = 0;
};

TEST_F(Control, MessagesAreAnsweredAndStored)
{
    const int clients[] = {client(), client(0, SOCK_DGRAM)};
    std::ifstream file(MESSAGES);
    for (std::string line, name; std::getline(file, line);) {
        if (int value = 0; line.starts_with('=')) {
            std::istringstream(line.substr(1)) >> name >> value;
            EXPECT_EQ(bench::stored(0, name), value) << name;
        } else if (!line.starts_with('#')) {
            const bool datagram = line.starts_with("udp ");
            const std::size_t place = line.find(" >");
            ask(clients[datagram], line.substr(datagram ? 4 : 0, place - (datagram ? 4 : 0)),
                line.substr(std::min(place + 3, line.size())));
        }
    }
}

TEST_F(Control, EveryCommandIsAnsweredAndStoredAndShownAndSteppedToItsEnds)
{
    constexpr std::pair<std::string_view, int> kModes[] = {
        {"exposure_mode", 0}, {"expcomp_mode", 2}, {"exposure_mode", 3}, {"exposure_mode", 13},
        {"wb_mode", 0},       {"wb_mode", 5},      {"wb_mode", 32},      {"blackwhite_mode", 0}};
    const int sock = client();
    session::set_illuminant(0, "A");
    set("expcomp_mode", 2);
    set("expcomp_level", 14);
    for (const visca::Row& row : visca::kRows) {
        const sim::host::Setting* const setting = find_setting(row.setting);
        if (row.command == 0 || setting == nullptr || setting->member == nullptr ||
            row.ranges[1].use == visca::Use::last) {
            continue;
        }
        SCOPED_TRACE(setting->name);
        for (const auto& [name, value] : kModes) {
            if (row.setting != name && !sim::host::contains(setting->effective, sim::host::stored_record(0))) {
                set(name, value);
            }
        }
        const visca::Range& last =
            row.ranges[row.ranges[1].low <= row.ranges[1].high && row.ranges[1].use == visca::Use::all ? 1 : 0];
        const int highest = last.value + last.high - last.low;
        const auto stored = [&] { return sim::host::stored(0, *setting); };
        std::vector<sim::picture::Image> pictures;
        for (const auto& [byte, value] : {std::pair{row.ranges[0].low, row.ranges[0].value}, {last.high, highest}}) {
            std::string data;
            for (int shift = 4 * (std::abs(row.digits) - 1); shift >= 0; shift -= 4) {
                data += " " + visca::text_of({static_cast<std::uint8_t>(row.digits < 0 ? byte : byte >> shift & 0x0F)});
            }
            ask(sock, "81 " + three(row.command) + data + " FF", done);
            EXPECT_EQ(stored(), value);
            if (row.inquiry != 0) {
                ask(sock, "81 " + three(row.inquiry) + " FF", "90 50" + data + " FF");
            }
            pictures.push_back(picture());
        }
        const bool alike = row.command == 0x01043D || row.command == 0x01043E || row.command == 0x010423; // here
        EXPECT_TRUE(alike || !setting->shown || pictures[0].pixels != pictures[1].pixels);
        if (row.step != 0) {
            const auto step = [&](const char* to) { ask(sock, "81 " + three(row.step) + to, done); };
            step(" 02 FF");
            EXPECT_EQ(stored(), highest);
            for (int before = highest + 1; stored() < before;) {
                before = stored();
                step(" 03 FF");
            }
            EXPECT_EQ(stored(), row.ranges[0].value);
            step(" 00 FF");
            EXPECT_EQ(stored(), setting->initial);
        }
        set("expcomp_mode", 3);
    }
}

TEST_F(Control, WithoutAThreadOnlyTheCommandFails)
{
    const int sock = client();
    const std::string hue = "81 01 04 4F 00 00 00 03 FF";
    {
        const bench::NoThreads none;
        ask(sock, hue, "90 41 FF 90 61 41 FF");
    }
    ask(sock, hue, done);
}

TEST_F(Control, TwoCommandsAreUnderWayAtMostAndNobodyWaitsForThem)
{
    const int sock = client();
    const int other = client();
    {
        const session::Lanes held({0}, "test");
        ask(sock, "81 01 04 4F 00 00 00 03 FF 81 01 04 0F 02 FF 81 01 04 0F 02 FF", "90 41 FF 90 42 FF 90 60 03 FF");
        ask(other, "81 01 04 00 03 FF", "90 60 03 FF");
        ask(other, "81 09 04 4D FF", "90 50 00 00 00 05 FF");
        ask(sock, "81 09 04 4F FF", "90 50 00 00 00 04 FF"); // its own value, before it is there
        EXPECT_EQ(bench::stored(0, "hue"), 7);
    }
    EXPECT_EQ(hear(sock, 17), "90 51 FF 90 52 FF");
    EXPECT_EQ(bench::stored(0, "hue"), 4);
    {
        const session::Lanes held({0}, "test");
        ask(sock, "81 01 04 4F 00 00 00 09 FF 81 01 00 01 FF", "90 41 FF 90 50 FF"); // forgotten, yet done
        ask(sock, "81 01 04 0F 02 FF", "90 41 FF");
    }
    EXPECT_EQ(hear(sock, 8), "90 51 FF");
    EXPECT_EQ(bench::stored(0, "hue"), 10);

    ask(sock, "81 01 04 35 03 FF 81 01 04 10 05 FF", "90 41 FF 90 42 FF 90 51 FF 90 52 FF"); // begun
    ask(sock, "81 01 04 10 05 FF", "90 41 FF 90 61 41 FF");
    while (answer(sock, "81 01 04 10 05 FF", done.size()) != done) { // until the first has ended
        sim::wait(1'000'000);
    }
    EXPECT_THAT(answer(sock, "81 01 04 47 02 00 00 00 FF 81 01 04 00 03 FF", 35), testing::StartsWith("90 41 FF 90"));
    sim::wait(10'000'000);
    ask(sock, "81 09 04 47 FF 81 09 04 00 FF", "90 50 02 00 00 00 FF 90 50 03 FF");
    ask(client(1), "81 01 04 07 02 FF", "90 41 FF 90 61 41 FF"); // no motor
}

TEST_F(Control, BadClientsCostOnlyThemselves)
{
    ask(client(), "50 4F 53 54 20 2F", " end");
    std::vector<int> clients;
    for (int i = 0; i < 8; ++i) {
        clients.push_back(client());
        ask(clients.back(), "81 09 04 00 FF", "90 50 02 FF");
    }
    ask(client(), "81 09 04 00 FF", " end"); // no room
    ask(client(1), "81 09 04 00 FF", "90 50 03 FF");

    const Bytes inquiries(64, 0xFF);                                                 // each FF is too short a message
    while (send(clients[0], inquiries.data(), inquiries.size(), MSG_NOSIGNAL) > 0) { // and never read
    }
    EXPECT_THAT(answer(clients[2], "81 09 04 42 FF", 20), testing::StartsWith("90 50 00 00 00"));
}

TEST_F(Control, FourClientsAtOnce)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, sock = client(i / 2)] {
            for (int n = 0; n < 100; ++n) {
                const std::string reply = answer(sock, n % 2 == 0 ? "81 01 04 09 02 FF" : "81 01 04 02 03 FF", 17);
                EXPECT_THAT(reply, testing::MatchesRegex("90 4([12]) FF 90 5[12] FF"));
                EXPECT_EQ(answer(sock, "81 09 7E 7E 03 FF", 47).size(), 47U);
            }
            ask(sock, "81 09 04 49 FF", "90 50 00 00 00 0E FF");
            close(sock);
        });
    }
    for (std::thread& each : threads) {
        each.join();
    }
}

} // namespace
