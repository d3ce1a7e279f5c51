// The sensors and what is in front of them, between engine.h and the contexts.
#pragma once

#include <string>

namespace sim::engine
{

std::string sensor_name(int index);
bool sensor_present(int index);
void reset_sensors();

} // namespace sim::engine
