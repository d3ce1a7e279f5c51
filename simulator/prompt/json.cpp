#include "prompt/json.h"

#include "prompt/command.h"

#include <atomic>
#include <cmath>
#include <ostream>

namespace prompt
{

namespace
{

std::atomic<bool> switched_on = false;

Json value_of(const std::string& name, int value)
{
    return name == std::to_string(value) ? Json(value) : Json(name);
}

} // namespace

void set_json(bool on)
{
    switched_on = on;
}

bool json_on()
{
    return switched_on;
}

void print_json(const Json& object)
{
    out() << object.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

Json json_of(const std::string& text)
{
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc{} && end == text.data() + text.size() && std::isfinite(value)) {
        long long whole = 0;
        const auto [last, no_whole] = std::from_chars(text.data(), text.data() + text.size(), whole);
        return no_whole == std::errc{} && last == text.data() + text.size() ? Json(whole) : Json(value);
    }
    return text == "true" || text == "false" ? Json(text == "true") : Json(text);
}

Json json_of(const kiv_isp_param_s& record)
{
    Json settings = Json::object();
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        const int value = record.*setting.member;
        settings[std::string(setting.name)] = value_of(sim::host::name_of(setting, value), value);
    }
    return settings;
}

} // namespace prompt
