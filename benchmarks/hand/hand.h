// The library's work written by hand, in one straight line of calls against engine, store and lens, without tables of
// steps or shared code. It makes the same calls as the library in the same order with the same values and writes the
// same trace lines, which isp_bench checks before it measures.
//
// The same sources make a second form, `bare`, without trace lines and camera groups. HAND names the form: the
// namespace that this declares. Included once for each form, therefore no include guard.
#include "isp_auto_iris.h"

namespace HAND
{

// One per setter, restore and style; setters without a level ignore `value`.
int saturation(int id, int value);
int hue(int id, int value);
int luminance(int id, int value);
int contrast(int id, int value);
int blackwhite_mode(int id, int value);
int sharpness(int id, int value);
int gamma(int id, int value);
int drc(int id, int value);
int nr2d(int id, int value);
int nr3d(int id, int value);
int csc_mode(int id, int value);
int meter(int id, int value);
int antiflicker(int id, int value);
int bright(int id, int value);
int expcomp_mode(int id, int value);
int expcomp_level(int id, int value);
int backlight(int id, int value);
int gain_limit(int id, int value);
int manual_gain(int id, int value);
int iris(int id, int value);
int shutter(int id, int value);
int wdr_strength(int id, int value);
int exposure_mode(int id, int value);
int wb_mode(int id, int value);
int awb_sens(int id, int value);
int rgain(int id, int value);
int bgain(int id, int value);
int rgain_tuning(int id, int value);
int bgain_tuning(int id, int value);
int temperature(int id, int value);
int wb_mode_onepush(int id, int value);
int shading(int id, int value);
int style(int id, int value);
int restore(int id, int value);

// One cycle of each loop, with what it keeps; `record` is the mapped iris record, null while there is none.
void exposure_cycle();
void balance_cycle();
void iris_cycle(const Iris_Info_Param* record);

} // namespace HAND
