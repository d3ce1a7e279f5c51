// The lens: an iris and a zoom, each driven by a motor with a speed and two end stops, and the light that passes.
//
// The iris diameter grows in proportion to the motor position p, so the F-number is 1.8 x 800 / p and the light
//     transmission = (min(p, widest(zoom)) / 800)^2,
// 1 being fully open. The front of the lens limits the opening where it is zoomed in: widest() is 800 at the widest
// angle, 723 at zoom 2556, 638 from zoom 3746 on and linear in between; opening further brings no more light.
// The zoom magnifies by 2^(3 x zoom / 7000): up to 8 times.
#pragma once

namespace sim::host
{

inline constexpr int kIrisWidest = 800; // motor steps; 0 is closed
inline constexpr int kZoomLongest = 7000;
inline constexpr double kIrisSpeed = 400.0; // motor steps per second
inline constexpr double kZoomSpeed = 1400.0;

/// Motor positions of the iris at F1.8, 2, 2.4, 2.8, 3.4, 4, 4.8, 5.6, 6.8, 8, 9.6, 11 and closed. The index is the
/// scale of iris_to(); the shared iris record publishes them as irisStep.
inline constexpr short kIrisCalibration[13] = {800, 723, 620, 514, 424, 360, 300, 257, 212, 180, 150, 131, 0};

struct LensState {
    double iris = kIrisWidest; // motor steps
    double iris_target = kIrisWidest;
    double zoom = 0.0; // motor steps
    double zoom_target = 0.0;
    bool iris_automatic = true; // iris_mode()
};

// All of these: any thread. The motors stop at the end stops.
LensState lens_state();
void reset_lens(); ///< also the calibration flag, to 0
void move_iris_to(int position);
void move_iris_by(int steps); ///< from where it is now; positive opens
void move_zoom_to(int position);

/// What get_lens_calibration_flag() returns, 0 at first; 4 asks the library's threads to end.
void set_lens_calibration_flag(int flag);

void step_lens(double seconds); ///< lets the motors run

/// The widest useful iris position at a zoom position, and the light that passes, 0 to 1.
double widest_iris(double zoom);
double lens_transmission();

double magnification(double zoom); ///< relative to the widest angle

} // namespace sim::host
