// What is in front of each camera, and what its picture would look like at the moment.
#pragma once

#include "picture/picture.h"

#include <string>
#include <vector>

namespace session
{

inline constexpr int kPictureWidth = 640;
inline constexpr int kPictureHeight = 480;

/// Puts the chart in front of all cameras, after a reset of the engines.
void reset_scenes();

/// `moving`: what can move in the scene does.
void put_scene(int camera, sim::picture::SceneRef scene, bool moving = false);
sim::picture::SceneRef scene_of(int camera);

/// How far the camera's lens is zoomed in; 1 for a camera without a zoom.
float magnification_of(int camera);

/// Brings what the running cameras meter up to date with scene, zoom and shading correction. Before every frame, on
/// its thread.
void meter_scenes();

/// The camera's engine blocks and live values. It needs an engine.
sim::picture::Look look_of(int camera);

/// What the camera shows, without a caption: the mean of so many frames from the present one on.
sim::picture::Image picture_of(int camera, int frames = 1);

/// Two lines: light, exposure and white balance of a camera, and the settings that differ from their initial values.
std::vector<std::string> caption_of(int camera);

/// The picture with a title, which may be empty, and its caption.
sim::picture::Panel panel_of(int camera, const std::string& title, int frames = 1);

} // namespace session
