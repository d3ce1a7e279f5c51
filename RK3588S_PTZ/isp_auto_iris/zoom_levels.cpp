// Zoom levels and the widest iris position that each allows.
#include "isp_auto_iris/zoom_levels.h"

#include "isp_auto_iris/isp_auto_iris.h"
#include "isp_ctrl/core/atomic.h"

#include <algorithm>

namespace
{

// Lower bound of each zoom level, in zoom motor steps. Given; 6624 is the end of the zoom's travel.
constexpr int kZoomFrom[isp::iris::kZoomLevels] = {0, 2556, 3746, 4476, 4986, 5372, 5682, 5938, 6160, 6354, 6532, 6624};

// Widest iris position of each zoom level: these until the loop has read the lens's own.
int widest_of_level[isp::iris::kZoomLevels] = {800, 723, 620, 620, 620, 620, 620, 620, 620, 620, 620, 620};

} // namespace

void isp::iris::publish_widest(const std::array<int, kZoomLevels>& widest)
{
    for (std::size_t level = 0; level < widest.size(); ++level) {
        shared_set(widest_of_level[level], widest[level]);
    }
}

int get_cur_zoom_array(int cur_zoom)
{
    const auto* above = std::upper_bound(std::begin(kZoomFrom), std::end(kZoomFrom), std::max(cur_zoom, 0));
    return static_cast<int>(above - std::begin(kZoomFrom)) - 1;
}

int get_max_iris(int now_zoom_len)
{
    return isp::shared_get(widest_of_level[std::clamp(now_zoom_len, 0, isp::iris::kZoomLevels - 1)]);
}
