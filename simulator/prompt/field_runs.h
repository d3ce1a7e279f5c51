// Fields of an engine's block for people: the elements of an array together.
#pragma once

#include "engine/engine.h"

#include <string>
#include <vector>

namespace prompt
{

/// One field, or elements of an array that follow each other, "uCoeff[0..224]".
struct FieldRun {
    std::string name;
    std::vector<std::string> values;
    std::vector<std::string> before; // as in FieldText
};

std::vector<FieldRun> runs_of(const std::vector<sim::engine::FieldText>& fields);

/// One value; or many, in the rows of a square where they are one and in lines that fit otherwise.
std::string grid_text(const std::vector<std::string>& values);

/// On one line: one value if all are equal, and of many only the first and the last.
std::string short_text(const std::vector<std::string>& values);

} // namespace prompt
