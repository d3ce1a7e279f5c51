#include "prompt/records.h"

#include "host/store.h"
#include "prompt/command.h"

#include <iomanip>
#include <sstream>

namespace prompt
{

Json json_of(const sim::host::Setting& setting, int value)
{
    const std::string name = sim::host::name_of(setting, value);
    return name == std::to_string(value) ? Json(value) : Json(name);
}

Json json_of(const kiv_isp_param_s& record)
{
    Json settings = Json::object();
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        settings[std::string(setting.name)] = json_of(setting, record.*setting.member);
    }
    return settings;
}

std::string differences(const kiv_isp_param_s& record, const kiv_isp_param_s& other, const std::string& title)
{
    std::ostringstream text;
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (record.*setting.member != other.*setting.member) {
            text << std::left << std::setw(24) << setting.name << std::setw(20)
                 << sim::host::name_of(setting, record.*setting.member) << "(" << title << " "
                 << sim::host::name_of(setting, other.*setting.member) << ")\n";
        }
    }
    return text.str();
}

Json json_of_differences(const kiv_isp_param_s& record, const kiv_isp_param_s& other, const char* title)
{
    Json differing = Json::object();
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (record.*setting.member != other.*setting.member) {
            differing[std::string(setting.name)] = {{"now", json_of(setting, record.*setting.member)},
                                                    {title, json_of(setting, other.*setting.member)}};
        }
    }
    return differing;
}

void tell_changes(int camera, const kiv_isp_param_s& before)
{
    const kiv_isp_param_s record = sim::host::stored_record(camera);
    out() << "camera " << camera << '\n' << differences(record, before, "before");
    answer({{"camera", camera}, {"changes", json_of_differences(record, before)}});
}

} // namespace prompt
