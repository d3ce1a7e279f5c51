// Which scene is in front of each camera, and what the cameras meter of it.
#pragma once

#include "picture/picture.h"

namespace app
{

/// All cameras look at the chart.
void reset_scenes();

void put_scene(int camera, sim::picture::SceneRef scene);
sim::picture::SceneRef scene_of(int camera);

/// How far the camera's lens is zoomed in; 1 for a camera without a zoom.
float magnification_of(int camera);

/// Brings what the running cameras meter up to date with scene, zoom and shading correction. Before every frame.
void meter_scenes();

} // namespace app
