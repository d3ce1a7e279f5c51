// The codec alone: what messages of controllers ask for, what they are answered, and how they are cut and numbered.
#include "host/settings.h"
#include "visca/codec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

namespace
{

using visca::Bytes;

Bytes bytes_of(const std::string& text)
{
    Bytes bytes;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(word, nullptr, 16)));
    }
    return bytes;
}

/// A camera that does as it is told, with the initial values at first.
struct Store {
    Store()
    {
        for (const sim::host::Setting& setting : sim::host::kSettings) {
            values[setting.name] = setting.initial;
        }
    }

    /// The answer, or the setting that is changed, "hue=3".
    std::string tell(const std::string& message)
    {
        const visca::Request request = visca::decode(bytes_of(message), camera);
        if (!request.reply.empty()) {
            return visca::text_of(request.reply);
        }
        values[request.setting] = request.value;
        return std::string(request.setting) + "=" + std::to_string(request.value);
    }

    std::map<std::string_view, int> values;
    visca::Camera camera{[this](std::string_view name) { return values[name]; }};
};

/// 81, three bytes, data, FF.
std::string message(int code, const Bytes& data = {})
{
    Bytes bytes{0x81};
    for (const int shift : {16, 8, 0}) {
        bytes.push_back(static_cast<std::uint8_t>(code >> shift));
    }
    bytes.insert(bytes.end(), data.begin(), data.end());
    bytes.push_back(0xFF);
    return visca::text_of(bytes);
}

/// A byte as so many digits, or as it is.
Bytes digits_of(int byte, int digits)
{
    Bytes data(static_cast<std::size_t>(std::abs(digits)));
    for (auto it = data.rbegin(); it != data.rend(); ++it, byte >>= 4) {
        *it = static_cast<std::uint8_t>(digits < 0 ? byte : byte & 0x0F);
    }
    return data;
}

TEST(Codec, MessagesOfControllersOneAfterAnother)
{
    Store store;
    store.values["camera_id"] = 7;
    std::ifstream file(MESSAGES);
    for (std::string told; std::getline(file, told);) {
        if (const std::size_t place = told.find(" > "); place != std::string::npos) {
            EXPECT_EQ(store.tell(told.substr(0, place)), told.substr(place + 3)) << told;
        }
    }
}

TEST(Codec, EveryRowIsSetAskedAndSteppedToBothEnds)
{
    for (const visca::Row& row : visca::kRows) {
        if (row.command == 0 || row.setting == "zoom") {
            continue;
        }
        const std::string name(row.setting);
        SCOPED_TRACE(name);
        Store store;
        const sim::host::Setting* const setting = sim::host::find_setting(row.setting);
        std::set<int> taken;
        for (int byte = 0; byte <= 0xFF; ++byte) {
            const Bytes data = digits_of(byte, row.digits);
            if (const std::string outcome = store.tell(message(row.command, data)); outcome != "90 60 02 FF") {
                taken.insert(store.values[row.setting]);
                EXPECT_TRUE(setting == nullptr || setting->in_range(store.values[row.setting])) << outcome;
                EXPECT_TRUE(row.inquiry == 0 || store.tell(message(row.inquiry)).find(visca::text_of(data)) == 6 ||
                            name == "blackwhite_mode");
            }
        }
        for (const auto& [step, expected] : {std::pair{2, *taken.rbegin()}, {3, *taken.begin()}, {0, row.initial}}) {
            for (std::size_t i = 0; row.step != 0 && i < taken.size(); ++i) {
                store.tell(message(row.step, {static_cast<std::uint8_t>(step)}));
            }
            EXPECT_TRUE(row.step == 0 || store.values[row.setting] == expected);
        }
        EXPECT_TRUE(row.step == 0 || row.initial == setting->initial);
    }
}

} // namespace
