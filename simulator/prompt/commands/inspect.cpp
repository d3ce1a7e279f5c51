// Looking into engines, and making their calls fail.
#include "prompt/commands/inspect.h"
#include "base/calls.h"
#include "engine/engine.h"
#include "host/log.h"
#include "prompt/command.h"
#include "prompt/commands/groups.h"
#include "prompt/field_runs.h"
#include "prompt/json.h"
#include "session/cameras.h"
#include "session/remembered.h"

#include <algorithm>
#include <ostream>

namespace prompt
{

namespace
{

constexpr std::string_view kFunctions[] = {
#include "called_functions.inc"
};

using Fields = std::vector<sim::engine::FieldText>;

Fields block_fields(int camera, const std::string& block)
{
    return sim::engine::describe(session::engine_of(camera), block);
}

/// Prints fields under their block's name, the elements of an array as one line or as a grid.
void print_fields(const std::string& block, const Fields& fields)
{
    if (json_on()) {
        return;
    }
    for (const FieldRun& run : runs_of(fields)) {
        out() << block << '.' << run.name << " = " << grid_text(run.values) << '\n';
    }
}

Json json_of_fields(const Fields& fields)
{
    Json object = Json::object();
    for (const FieldRun& run : runs_of(fields)) {
        Json values = Json::array();
        for (const std::string& value : run.values) {
            values.push_back(json_of(value));
        }
        object[run.name] = values.size() == 1 ? values[0] : values;
    }
    return object;
}

void block(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    Fields fields = block_fields(camera, words[1]);
    if (fields.empty()) {
        std::string names;
        for (const std::string& name : sim::engine::block_names()) {
            names += " " + name;
        }
        throw BadInput("there is no block " + words[1] + "; the blocks are" + names);
    }
    if (words.size() > 2) {
        std::erase_if(fields, [&](const sim::engine::FieldText& field) {
            return field.name.find(words[2]) == std::string::npos;
        });
        if (fields.empty()) {
            throw BadInput("no field of " + words[1] + " has " + words[2] + " in its name");
        }
    }
    print_fields(words[1], fields);
    if (json_on()) {
        print_json({{"camera", camera}, {"block", words[1]}, {"fields", json_of_fields(fields)}});
    }
}

void changes(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    Json object = Json::object();
    const auto now = sim::engine::snapshot(session::engine_of(camera));
    for (const FieldRun& run : runs_of(sim::engine::changes(session::remembered(camera), now))) {
        const std::string value = short_text(run.values);
        const std::string before = short_text(run.before);
        if (json_on()) {
            object[run.name] = {{"now", json_of(value)}, {"was", json_of(before)}};
        } else {
            out() << run.name << " = " << value << (before.empty() ? "" : "  (was " + before + ")") << '\n';
        }
    }
    if (json_on()) {
        print_json({{"camera", camera}, {"changes", object}});
    }
}

void expect(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const Fields fields = block_fields(camera, words[1]);
    const auto field = std::ranges::find(fields, words[2], &sim::engine::FieldText::name);
    if (field == fields.end()) {
        throw BadInput("there is no field " + words[1] + "." + words[2]);
    }
    if (field->value != words[3]) {
        throw BadInput(words[1] + "." + words[2] + " is " + field->value + ", not " + words[3]);
    }
    out() << words[1] << '.' << words[2] << " = " << field->value << ", as expected\n";
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
        throw BadInput("fault FUNCTION NTH CODE [always], or fault clear");
    }
    if (!std::ranges::binary_search(kFunctions, words[0])) {
        throw BadInput("the library calls no function " + words[0]);
    }
    sim::inject_fault(words[0], number<int>(words[1], 1, 1000000, "the call's number"),
                      number<int>(words[2], -32768, 32767, "a code"), words.size() == 4);
}

constexpr Command kCommands[] = {
    {"block", "CAM BLOCK [FIELD]", "what an engine holds", 2, 3, block, Kind::looks},
    {"changes", "CAM", "what the last command changed in an engine", 1, 1, changes, Kind::looks},
    {"expect", "CAM BLOCK FIELD VALUE", "fail unless an engine holds this", 4, 4, expect, Kind::looks},
    {"trace", "on|off", "show the library's trace lines", 1, 1, trace},
    {"fault", "FUNCTION NTH CODE [always] | clear", "make a call of the engine or host fail", 1, 4, fault},
};

} // namespace

std::span<const std::string_view> called_functions()
{
    return kFunctions;
}

std::span<const Command> engine_commands()
{
    return kCommands;
}

} // namespace prompt
