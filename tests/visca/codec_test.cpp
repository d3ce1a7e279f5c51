// The codec alone: what messages of controllers ask for, what they are answered, and how they are cut and numbered.
#include "host/settings.h"
#include "visca/framing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
        const visca::Request request = visca::decode(bytes_of(message));
        if (!request.acts()) {
            return visca::text_of(visca::answer(request, camera));
        }
        const int value = visca::target(request, camera);
        values[request.row->setting] = value;
        return std::string(request.row->setting) + "=" + std::to_string(value);
    }

    std::map<std::string_view, int> values;
    visca::Camera camera{[this](std::string_view name) { return values[name]; }};
};

std::string message(std::string_view form)
{
    return "81 " + std::string(form) + " FF";
}

TEST(Codec, MessagesOfControllersOneAfterAnother)
{
    const struct {
        const char* message;
        const char* outcome;
    } kCases[] = {
        {"81 01 04 39 03 FF", "exposure_mode=3"},
        {"81 09 04 39 FF", "90 50 03 FF"},
        {"81 01 04 39 01 FF", "90 60 02 FF"},
        {"81 01 04 3D 02 FF", "exposure_mode=33"},
        {"81 09 04 39 FF", "90 50 00 FF"},
        {"81 09 04 3D FF", "90 50 02 FF"},
        {"81 01 04 3D 03 FF", "exposure_mode=0"},
        {"81 09 04 3D FF", "90 50 03 FF"},
        {"81 09 04 4A FF", "90 50 00 00 00 02 FF"},
        {"81 01 04 4A 00 00 01 01 FF", "shutter=16"},
        {"81 01 04 4A 00 00 00 00 FF", "90 60 02 FF"},
        {"81 01 04 4A 00 00 01 02 FF", "90 60 02 FF"},
        {"81 01 04 0A 02 FF", "shutter=16"},
        {"81 01 04 0A 00 FF", "shutter=1"},
        {"81 01 04 4B 00 00 00 06 FF", "iris=6"},
        {"81 01 04 0B 03 FF", "iris=0"},
        {"81 01 04 0B 02 FF", "iris=6"},
        {"81 01 04 4B 00 00 00 03 FF", "iris=3"},
        {"81 01 04 0D 00 00 01 07 FF", "bright=23"},
        {"81 01 04 0D 03 FF", "bright=22"},
        {"81 09 04 4D FF", "90 50 00 00 01 06 FF"},
        {"81 01 04 0D 01 FF", "90 60 02 FF"},
        {"81 01 04 33 02 FF", "backlight=2"},
        {"81 01 04 33 00 FF", "90 60 02 FF"},
        {"81 01 04 23 02 FF", "antiflicker=2"},
        {"81 09 04 55 FF", "90 50 02 FF"},
        {"81 09 04 23 FF", "90 60 02 FF"},
        {"81 01 04 35 20 FF", "wb_mode=32"},
        {"81 09 04 35 FF", "90 50 20 FF"},
        {"81 01 04 35 04 FF", "90 60 02 FF"},
        {"81 01 04 10 05 FF", "wb_mode_onepush=0"},
        {"81 01 04 43 00 00 06 04 FF", "rgain=100"},
        {"81 01 04 43 00 00 64 FF", "90 60 01 FF"},
        {"81 01 04 43 00 00 16 04 FF", "90 60 02 FF"},
        {"81 01 04 20 03 07 FF", "temperature=55"},
        {"81 01 04 20 02 FF", "temperature=55"},
        {"81 09 04 20 FF", "90 50 03 07 FF"},
        {"81 01 04 20 03 08 FF", "90 60 02 FF"},
        {"81 0A 01 12 14 FF", "rgain_tuning=20"},
        {"81 09 01 12 FF", "90 50 14 FF"},
        {"81 09 0A 01 12 FF", "90 50 14 FF"},
        {"81 0A 01 13 15 FF", "90 60 02 FF"},
        {"81 01 04 49 00 01 00 05 FF", "90 60 02 FF"},
        {"81 01 04 4F 00 00 00 0E FF", "hue=14"},
        {"81 09 04 05 FF", "90 50 02 FF"},
        {"81 09 04 42 FF", "90 50 00 00 00 07 FF"},
        {"81 01 04 05 03 FF", "sharpness=7"},
        {"81 01 04 02 02 FF", "sharpness=8"},
        {"81 09 04 05 FF", "90 50 03 FF"},
        {"81 01 04 05 02 FF", "sharpness=16"},
        {"81 09 04 42 FF", "90 50 00 00 00 08 FF"},
        {"81 01 04 02 02 FF", "sharpness=9"},
        {"81 01 04 02 00 FF", "sharpness=16"},
        {"81 09 04 53 FF", "90 50 06 FF"},
        {"81 01 04 53 06 FF", "90 60 02 FF"},
        {"81 01 04 53 02 FF", "nr2d=2"},
        {"81 01 04 50 02 FF", "nr2d=6"},
        {"81 01 04 50 03 FF", "nr2d=2"},
        {"81 09 04 54 FF", "90 50 09 FF"},
        {"81 01 04 63 04 FF", "blackwhite_mode=1"},
        {"81 01 04 63 02 FF", "blackwhite_mode=0"},
        {"81 01 04 00 02 FF", "power=1"},
        {"81 09 04 00 FF", "90 50 02 FF"},
        {"81 01 04 07 27 FF", "zoom_drive=39"},
        {"81 01 04 47 04 00 00 00 FF", "zoom=16384"},
        {"81 01 04 47 04 00 00 01 FF", "90 60 02 FF"},
        {"81 09 04 47 FF", "90 50 04 00 00 00 FF"},
        {"81 09 04 48 FF", "90 50 00 00 00 00 FF"},
        {"81 09 06 12 FF", "90 50 00 00 00 00 00 00 00 00 FF"},
        {"81 09 00 02 FF", "90 50 00 00 00 00 01 00 02 FF"},
        {"81 09 06 12 00 FF", "90 60 01 FF"},
        {"81 01 00 01 FF", "90 50 FF"},
        {"88 01 00 01 FF", "88 01 00 01 FF"},
        {"88 30 01 FF", "88 30 02 FF"},
        {"88 01 04 00 03 FF", "90 60 02 FF"},
        {"81 22 FF", "90 62 05 FF"},
        {"81 01 04 3F 02 01 FF", "90 60 02 FF"},
        {"81 01 06 04 FF", "90 60 02 FF"},
        {"82 09 04 47 FF", "90 60 02 FF"},
        {"81 01 04 FF", "90 60 01 FF"},
        {"81 FF", "90 60 01 FF"},
        {"81 01 04 49 00 00 00 05 00 00 00 00 00 00 00 00", "90 60 01 FF"},
        {"81 09 7E 7E 00 FF", "90 50 04 00 00 00 00 00 00 00 00 00 00 00 00 FF"},
        {"81 09 7E 7E 01 FF", "90 50 06 04 08 00 00 09 00 04 02 03 00 16 07 FF"},
        {"81 09 7E 7E 02 FF", "90 50 01 00 00 00 00 00 00 00 00 07 00 00 00 FF"},
        {"81 09 7E 7E 03 FF", "90 50 00 00 00 00 00 00 00 00 00 38 00 12 0F FF"},
        {"81 09 7E 7E 04 FF", "90 50 00 00 00 00 00 00 00 00 00 00 00 00 00 FF"},
        {"81 09 7E 7E 05 FF", "90 50 0E 00 00 00 00 00 00 00 00 00 00 00 00 FF"},
        {"81 09 7E 7E 06 FF", "90 60 02 FF"},
    };
    Store store;
    store.values["camera_id"] = 7;
    for (const auto& [message, outcome] : kCases) {
        EXPECT_EQ(store.tell(message), outcome) << message;
    }
}

TEST(Codec, EveryRowIsSetAskedAndSteppedToBothEnds)
{
    for (const visca::Row& row : visca::kRows) {
        SCOPED_TRACE(row.command);
        Store store;
        const sim::host::Setting* const setting = sim::host::find_setting(row.setting);
        std::set<int> taken;
        for (int byte = 0; byte <= 0xFF; ++byte) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(byte));
            std::string form(row.command);
            for (std::size_t i = 0; i < form.size(); ++i) {
                form[i] = form[i] == 'p' ? digits[0] : form[i] == 'q' ? digits[1] : form[i];
            }
            const std::string outcome = store.tell(message(form));
            if (outcome == "90 60 02 FF") {
                continue;
            }
            const int value = store.values[row.setting];
            taken.insert(value);
            EXPECT_TRUE(setting == nullptr || setting->in_range(value)) << outcome;
            if (!row.inquiry.empty() && row.command.find('q') != std::string_view::npos &&
                row.command.find('r') == std::string_view::npos) {
                EXPECT_EQ(store.tell(message(row.inquiry)), "90 50 " + form.substr(9) + " FF");
            }
        }
        EXPECT_FALSE(taken.empty());
        if (row.step.empty()) {
            continue;
        }
        const std::string step(row.step);
        for (std::size_t i = 0; i < taken.size(); ++i) {
            store.tell(message(step + " 02"));
        }
        EXPECT_EQ(store.values[row.setting], *taken.rbegin());
        for (std::size_t i = 0; i < taken.size(); ++i) {
            store.tell(message(step + " 03"));
        }
        EXPECT_EQ(store.values[row.setting], *taken.begin());
        store.tell(message(step + " 00"));
        EXPECT_EQ(store.values[row.setting], setting->initial);
    }
}

} // namespace
