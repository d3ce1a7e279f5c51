// What the iris loop tells the rest of the program about the lens.
#pragma once

#include "isp_auto_iris/iris_rules.h"

namespace isp::iris
{

/// Makes the widest positions the ones that get_max_iris() returns.
void publish_widest(const std::array<int, kZoomLevels>& widest);

} // namespace isp::iris
