// What engines held before the last change, which the command `changes` compares with.
#pragma once

#include "engine/engine.h"

namespace session
{

/// Notes what the engine of a camera holds, or what all hold. Any thread.
void remember_engine(int camera);
void remember_engines();

/// What a camera's engine held then; empty where it had none.
sim::engine::Snapshot remembered(int camera);

} // namespace session
