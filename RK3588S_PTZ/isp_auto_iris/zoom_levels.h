// The zoom levels, and the widest iris position of each as the loop has last read it from the lens.
#pragma once

#include <array>

namespace isp::iris
{

inline constexpr int kZoomLevels = 12;

/// Makes the widest positions the ones that get_max_iris() returns.
void publish_widest(const std::array<int, kZoomLevels>& widest);

} // namespace isp::iris
