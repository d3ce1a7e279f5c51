// Looking into engines, and making their calls fail.
#include "app/commands/engine.h"
#include "app/command.h"
#include "app/commands/groups.h"
#include "app/session.h"
#include "base/calls.h"
#include "engine/engine.h"
#include "host/log.h"

#include <algorithm>
#include <map>
#include <ostream>

namespace app
{

namespace
{

constexpr std::string_view kFunctions[] = {
#include "called_functions.inc"
};

using Fields = std::map<std::string, std::string>;

Fields block_fields(int camera, const std::string& block)
{
    Fields fields;
    for (const sim::engine::FieldText& field : sim::engine::describe(engine_of(camera), block)) {
        fields[field.name] = field.value;
    }
    return fields;
}

// Every engine's fields before the last command that could change them: camera, block, field.
std::map<int, std::map<std::string, Fields>> fields_before;

std::map<int, std::map<std::string, Fields>> all_fields()
{
    std::map<int, std::map<std::string, Fields>> all;
    for (const int camera : cameras_with_engine()) {
        for (const std::string& block : sim::engine::block_names()) {
            all[camera][block] = block_fields(camera, block);
        }
    }
    return all;
}

void block(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const auto fields = sim::engine::describe(engine_of(camera), words[1]);
    if (fields.empty()) {
        std::string names;
        for (const std::string& name : sim::engine::block_names()) {
            names += " " + name;
        }
        throw BadInput("there is no block " + words[1] + "; the blocks are" + names);
    }
    bool found = false;
    for (const sim::engine::FieldText& field : fields) {
        if (words.size() == 2 || field.name.find(words[2]) != std::string::npos) {
            found = true;
            out() << words[1] << '.' << field.name << " = " << field.value << '\n';
        }
    }
    if (!found) {
        throw BadInput("no field of " + words[1] + " has " + words[2] + " in its name");
    }
}

void changes(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    for (const std::string& name : sim::engine::block_names()) {
        const Fields fields = block_fields(camera, name);
        const Fields& before = fields_before[camera][name];
        for (const auto& [field, value] : fields) {
            const auto old = before.find(field);
            if (old == before.end() || old->second != value) {
                out() << name << '.' << field << " = " << value;
                out() << (old != before.end() ? "  (was " + old->second + ")" : "") << '\n';
            }
        }
    }
}

void expect(const Words& words)
{
    const int camera = camera_with_engine(words[0]);
    const Fields fields = block_fields(camera, words[1]);
    const auto field = fields.find(words[2]);
    if (field == fields.end()) {
        throw BadInput("there is no field " + words[1] + "." + words[2]);
    }
    if (field->second != words[3]) {
        throw BadInput(words[1] + "." + words[2] + " is " + field->second + ", not " + words[3]);
    }
    out() << words[1] << '.' << words[2] << " = " << field->second << ", as expected\n";
}

void trace(const Words& words)
{
    const bool on = on_or_off(words[0]);
    sim::host::set_module_level(on ? 6 : 0);
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

void remember_engines()
{
    fields_before = all_fields();
}

std::span<const Command> engine_commands()
{
    return kCommands;
}

} // namespace app
