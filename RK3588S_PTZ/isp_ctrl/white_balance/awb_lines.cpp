#include "isp_ctrl/white_balance/awb_lines.h"

#include <cmath>
#include <iterator>

namespace
{

using Gain = float awb_calibration_s::*;

/// One camera's gain of one channel under both lights.
struct Pair {
    Gain d65;
    Gain a;
};

/// One follower's channel: its gains, the panorama camera's, and the line from the one to the other.
struct Channel {
    Pair follower;
    Pair panorama;
    Gain k;
    Gain b;
};

using R = awb_calibration_s;
constexpr Pair kPanoRed = {&R::d65_pano_rgain, &R::a_pano_rgain};
constexpr Pair kPanoBlue = {&R::d65_pano_bgain, &R::a_pano_bgain};
constexpr Pair kCloseRed = {&R::d65_close_rgain, &R::a_close_rgain};
constexpr Pair kCloseBlue = {&R::d65_close_bgain, &R::a_close_bgain};
constexpr Pair kThirdRed = {&R::d65_3rd_rgain, &R::a_3rd_rgain};
constexpr Pair kThirdBlue = {&R::d65_3rd_bgain, &R::a_3rd_bgain};

constexpr Pair kPairs[] = {kPanoRed, kPanoBlue, kCloseRed, kCloseBlue, kThirdRed, kThirdBlue};
constexpr Channel kChannels[] = {
    {kCloseRed, kPanoRed, &R::rgain_k, &R::rgain_b},
    {kCloseBlue, kPanoBlue, &R::bgain_k, &R::bgain_b},
    {kThirdRed, kPanoRed, &R::rgain_k2, &R::rgain_b2},
    {kThirdBlue, kPanoBlue, &R::bgain_k2, &R::bgain_b2},
};

bool all_cameras_alike(const awb_calibration_s& r)
{
    for (const Channel& channel : kChannels) {
        if (r.*channel.follower.d65 != r.*channel.panorama.d65 || r.*channel.follower.a != r.*channel.panorama.a) {
            return false;
        }
    }
    return true;
}

} // namespace

isp::Calibration isp::evaluate_calibration(awb_calibration_s& r)
{
    if (all_cameras_alike(r)) {
        return Calibration::needless;
    }
    std::size_t unchanged = 0;
    for (const Pair& pair : kPairs) {
        unchanged += r.*pair.a == r.*pair.d65 ? 1U : 0U;
    }
    if (unchanged == std::size(kPairs)) {
        for (const Channel& channel : kChannels) {
            r.*channel.k = 1.0F;
            r.*channel.b = r.*channel.follower.d65 - r.*channel.panorama.d65;
        }
        return Calibration::offsets;
    }
    if (unchanged > 0) {
        return Calibration::useless;
    }
    for (const Channel& channel : kChannels) {
        const auto [follower, panorama, k, b] = channel;
        r.*k = (r.*follower.a - r.*follower.d65) / (r.*panorama.a - r.*panorama.d65);
        r.*b = r.*follower.d65 - r.*k * r.*panorama.d65;
    }
    return Calibration::lines;
}

bool isp::has_lines(const awb_calibration_s& r)
{
    for (const Channel& channel : kChannels) {
        if (!std::isfinite(r.*channel.k) || !std::isfinite(r.*channel.b) || r.*channel.k == 0.0F) {
            return false;
        }
    }
    return true;
}
