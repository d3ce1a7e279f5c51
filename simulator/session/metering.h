// What the cameras meter of their scenes.
#pragma once

namespace session
{

/// Forgets which samples the engines have, as after a reset of the engines.
void reset_metering();

/// Brings what the running cameras meter up to date with scene, zoom and shading correction. Before every frame, on
/// its thread.
void meter_scenes();

} // namespace session
