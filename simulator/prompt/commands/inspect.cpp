// Looking into engines, and making their calls fail.
#include "base/calls.h"
#include "engine/engine.h"
#include "host/log.h"
#include "prompt/commands.h"
#include "prompt/json.h"
#include "session/cameras.h"
#include "session/change.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iomanip>
#include <ostream>

namespace prompt
{

namespace
{

constexpr std::string_view kFunctions[] = {
#include "called_functions.inc"
};

using sim::engine::Field;
using sim::engine::text_of;
using sim::engine::Value;

bool all_equal(const std::vector<Value>& values)
{
    return std::ranges::adjacent_find(values, std::not_equal_to<>()) == values.end();
}

/// On one line: one value if all are equal, and of many only the first and the last.
std::string short_text(const std::vector<Value>& values)
{
    constexpr std::size_t kFew = 4;
    std::string text;
    for (std::size_t i = 0; i < (all_equal(values) ? 1 : values.size()); ++i) {
        if (values.size() > kFew && i == kFew - 1) {
            return text + " ... " + text_of(values.back());
        }
        text += (i > 0 ? " " : "") + text_of(values[i]);
    }
    return text;
}

/// One value if all are equal; or many, in the rows of a square where they are one and in lines that fit otherwise.
std::string grid_text(const std::vector<Value>& values)
{
    if (all_equal(values)) {
        return text_of(values[0]);
    }
    std::size_t widest = 0;
    for (const Value& value : values) {
        widest = std::max(widest, text_of(value).size());
    }
    const auto side = static_cast<std::size_t>(std::lround(std::sqrt(static_cast<double>(values.size()))));
    const bool square = side > 2 && side * side == values.size();
    const std::size_t columns = square ? side : std::max<std::size_t>(76 / (widest + 1), 1);
    std::ostringstream text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        text << (i % columns == 0 ? "\n   " : "") << std::setw(static_cast<int>(widest) + 1) << text_of(values[i]);
    }
    return text.str();
}

Json values_json(const std::vector<Value>& values)
{
    Json array = Json::array();
    for (const Value& value : values) {
        const auto* const number = std::get_if<float>(&value);
        array.push_back(number != nullptr ? rounded(double{*number})
                                          : std::visit([](const auto& other) { return Json(other); }, value));
    }
    return array.size() == 1 ? array[0] : array;
}

void block(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    std::vector<Field> fields = sim::engine::describe(session::engine_of(camera), words[1]);
    if (fields.empty()) {
        throw BadInput("there is no block " + words[1] + "; the blocks are" + listed(sim::engine::block_names()));
    }
    if (words.size() > 2) {
        std::erase_if(fields, [&](const Field& field) { return field.name.find(words[2]) == std::string::npos; });
        if (fields.empty()) {
            throw BadInput("no field of " + words[1] + " has " + words[2] + " in its name");
        }
    }
    Json object = Json::object();
    for (const Field& field : fields) {
        out() << words[1] << '.' << field.name << " = " << grid_text(field.values) << '\n';
        object[field.name] = values_json(field.values);
    }
    answer({{"camera", camera}, {"block", words[1]}, {"fields", object}});
}

void changes(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    Json object = Json::object();
    const auto now = sim::engine::snapshot(session::engine_of(camera));
    for (const Field& field : sim::engine::changes(session::remembered(camera), now)) {
        out() << field.name << " = " << short_text(field.values);
        out() << (field.before.empty() ? "" : "  (was " + short_text(field.before) + ")") << '\n';
        object[field.name] = {{"now", values_json(field.values)}, {"was", values_json(field.before)}};
    }
    answer({{"camera", camera}, {"changes", object}});
}

void expect(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const std::vector<Field> fields = sim::engine::describe(session::engine_of(camera), words[1]);
    const auto field = std::ranges::find(fields, words[2], &Field::name);
    if (field == fields.end()) {
        throw BadInput("there is no field " + words[1] + "." + words[2]);
    }
    const std::string value = short_text(field->values);
    if (value != words[3]) {
        throw BadInput(words[1] + "." + words[2] + " is " + value + ", not " + words[3]);
    }
    out() << words[1] << '.' << words[2] << " = " << value << ", as expected\n";
}

void trace(const Words& words)
{
    const bool on = on_or_off(words[0]);
    sim::host::set_module_level(on || sim::host::has_log_callback() ? 6 : 0); // a page shows them always
    sim::host::set_log_to_stderr(on);
}

void fault(const Words& words)
{
    if (words[0] == "clear") {
        sim::clear_faults();
        return;
    }
    if (words.size() < 3 || (words.size() == 4 && words[3] != "always")) {
        refuse_usage();
    }
    if (!std::ranges::binary_search(kFunctions, words[0])) {
        throw BadInput("the library calls no function " + words[0]);
    }
    sim::inject_fault(words[0], number<int>(words[1], 1, 1000000, "the call's number"),
                      number<int>(words[2], -32768, 32767, "a code"), words.size() == 4);
}

constexpr Command kInspecting[] = {
    {"block", "CAM BLOCK [FIELD]", "what an engine holds", 2, 3, block, Kind::looks},
    {"changes", "CAM", "what the last command changed in an engine", 1, 1, changes, Kind::looks},
    {"expect", "CAM BLOCK FIELD VALUE", "fail unless an engine holds this", 4, 4, expect, Kind::looks},
    {"trace", "on|off", "show the library's trace lines", 1, 1, trace},
    {"fault", "FUNCTION NTH CODE [always] | clear", "make a call of the engine or host fail", 1, 4, fault},
};

} // namespace

const std::span<const std::string_view> kCalledFunctions = kFunctions;

const Group kEngineCommands = {"Looking inside", kInspecting};

} // namespace prompt
