// The attribute blocks and results of one context, one member for each row of modules.def.
#pragma once

#include "aiq/rk_aiq.h"

#include <algorithm>
#include <type_traits>

namespace sim::engine
{

inline constexpr int kSetpoints = 6;

struct Blocks {
#define ISP_MODULE(name, Block, ...) Block name;
#define ISP_RESULT(name, Block, ...) Block name;
#include "engine/modules.def"
    float setpoints[kSetpoints]; // what lin_ae.Params.DySetpoint points to
};

/// The member of Blocks that holds a `Block`.
template <typename Block>
inline constexpr Block Blocks::* member_of = nullptr;
#define ISP_MODULE(name, Block, ...)                                                                                   \
    template <>                                                                                                        \
    inline constexpr auto member_of<Block> = &Blocks::name;
#define ISP_RESULT ISP_MODULE
#include "engine/modules.def"

/// Takes a block over. The table of AE target lumas stays the engine's own: its values are taken over, the pointer is
/// not, unless it is null: an engine without targets.
template <typename Block>
void store(Blocks& blocks, const Block& block)
{
    blocks.*member_of<Block> = block;
    if constexpr (std::is_same_v<Block, Uapi_LinExpAttrV2_t>) {
        Uapi_DySetpoint_t& table = blocks.lin_ae.Params.DySetpoint;
        if (table.DySetpoint && table.DySetpoint != blocks.setpoints) {
            std::copy_n(table.DySetpoint, std::clamp(table.array_size, 0, kSetpoints), blocks.setpoints);
            table.DySetpoint = blocks.setpoints;
        }
    }
}

/// What every new context holds; lin_ae points to its own setpoints.
const Blocks& initial_blocks();

} // namespace sim::engine
