/* The video input: its frame rate. */
#include <vin/vin.h>

int get_vin_fps(int cam_id)
{
    (void)cam_id;
    return 30;
}
