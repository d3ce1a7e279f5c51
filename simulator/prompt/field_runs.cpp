#include "prompt/field_runs.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace prompt
{

namespace
{

constexpr std::size_t kFew = 4;
constexpr std::size_t kWidth = 76;

/// Where the index of the last subscript stands in a name, "a[12].b" gives {2, 4}; {0, 0} where there is none.
struct Subscript {
    std::size_t begin = 0;
    std::size_t end = 0;
    int index = -1;
};

Subscript subscript_of(const std::string& name)
{
    const std::size_t close = name.rfind(']');
    const std::size_t open = close == std::string::npos ? close : name.rfind('[', close);
    Subscript result;
    if (open != std::string::npos) {
        const char* const last = name.data() + close;
        const auto [end, error] = std::from_chars(name.data() + open + 1, last, result.index);
        if (error != std::errc{} || end != last) {
            return {};
        }
        result.begin = open + 1;
        result.end = close;
    }
    return result;
}

bool continues(const std::string& name, const std::string& next)
{
    const Subscript a = subscript_of(name);
    const Subscript b = subscript_of(next);
    return a.index >= 0 && b.index == a.index + 1 && name.substr(0, a.begin) == next.substr(0, b.begin) &&
           name.substr(a.end) == next.substr(b.end);
}

} // namespace

std::vector<FieldRun> runs_of(const std::vector<sim::engine::FieldText>& fields)
{
    std::vector<FieldRun> runs;
    for (std::size_t i = 0; i < fields.size();) {
        FieldRun run{.name = fields[i].name, .values = {fields[i].value}, .before = {fields[i].before}};
        const std::size_t first = i;
        for (++i; i < fields.size() && continues(fields[i - 1].name, fields[i].name); ++i) {
            run.values.push_back(fields[i].value);
            run.before.push_back(fields[i].before);
        }
        if (run.values.size() > 1) {
            const Subscript from = subscript_of(fields[first].name);
            const Subscript to = subscript_of(fields[i - 1].name);
            run.name.replace(from.begin, from.end - from.begin,
                             std::to_string(from.index) + ".." + std::to_string(to.index));
        }
        runs.push_back(std::move(run));
    }
    return runs;
}

std::string grid_text(const std::vector<std::string>& values)
{
    if (values.size() == 1) {
        return values[0];
    }
    std::size_t widest = 0;
    for (const std::string& value : values) {
        widest = std::max(widest, value.size());
    }
    const auto side = static_cast<std::size_t>(std::lround(std::sqrt(static_cast<double>(values.size()))));
    const bool square = side > 2 && side * side == values.size();
    const std::size_t columns = square ? side : std::max<std::size_t>(kWidth / (widest + 1), 1);
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        text += i % columns == 0 ? "\n   " : "";
        text += std::string(widest + 1 - values[i].size(), ' ') + values[i];
    }
    return text;
}

std::string short_text(const std::vector<std::string>& values)
{
    if (std::ranges::adjacent_find(values, std::not_equal_to<>()) == values.end()) {
        return values[0];
    }
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values.size() > kFew && i == kFew - 1) {
            return text + " ... " + values.back();
        }
        text += (i > 0 ? " " : "") + values[i];
    }
    return text;
}

} // namespace prompt
