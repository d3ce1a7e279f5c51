// Which scene is in front of each camera.
#pragma once

#include "picture/picture.h"

namespace session
{

/// All cameras look at the chart.
void reset_scenes();

/// `moving`: what can move in the scene does.
void put_scene(int camera, sim::picture::SceneRef scene, bool moving = false);
sim::picture::SceneRef scene_of(int camera);
bool moves(int camera);

/// How far the camera's lens is zoomed in; 1 for a camera without a zoom.
float magnification_of(int camera);

} // namespace session
