// The library's work written by hand, in one straight line of calls against engine, store and lens, without tables of
// steps or shared code: one setter of each shape and one cycle of each loop. It makes the same calls as the library in
// the same order with the same values, which isp_bench checks before it measures, and it writes the same trace lines.
#pragma once

#include "isp_auto_iris.h"

namespace hand
{

// An exposure mode and a style consist of other setters in the end; these are the library's.
int hue(int id, int value);
int sharpness(int id, int value);
int drc(int id, int value);
int shutter(int id, int value);       // in MANUAL_EXPOSURE
int exposure_mode(int id, int value); // AUTO_EXPOSURE
int wb_mode(int id, int value);       // AUTO_WHITE_BALANCE
int shading(int id, int value);
int style(int id, int value);

// One cycle of each loop, with what it keeps; `record` is the mapped iris record, null while there is none.
void exposure_cycle();
void balance_cycle();
void iris_cycle(const Iris_Info_Param* record);

} // namespace hand
