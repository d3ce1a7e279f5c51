// What engines hold, remembered around commands.
#pragma once

namespace app
{

/// Notes what every engine holds, which `changes` compares with.
void remember_engines();

} // namespace app
