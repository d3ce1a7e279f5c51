// The modules' Get, Set and query calls: a copy of one block under the context's lock.
#include "base/calls.h"
#include "engine/contexts.h"

using namespace sim::engine;

namespace
{

[[gnu::cold, gnu::noinline]] XCamReturn refuse_null_block(const char* function)
{
    note_misuse(function, "null block");
    return XCAM_RETURN_ERROR_PARAM;
}

// Calls `access` with the blocks of a live context.
template <typename Access>
XCamReturn with_blocks(const char* function, const void* pointer, const void* block, Access access)
{
    Context* const context = find(pointer);
    if (const int fault = sim::note_call(function, recorded_id(context)); fault != 0) [[unlikely]] {
        return static_cast<XCamReturn>(fault);
    }
    if (!block) [[unlikely]] {
        return refuse_null_block(function);
    }
    if (calls_take_time()) [[unlikely]] {
        take_time(context);
    }
    if (context) [[likely]] {
        const std::lock_guard lock(context->lock);
        if (is_alive(context->life)) [[likely]] {
            access(context->blocks);
            return XCAM_RETURN_NO_ERROR;
        }
    }
    return refuse_context(function, pointer);
}

template <typename Block>
XCamReturn get(const char* function, const void* pointer, Block* block)
{
    return with_blocks(function, pointer, block, [=](const Blocks& blocks) { *block = blocks.*member_of<Block>; });
}

/// `passed` is a block or a pointer to one.
template <typename Passed>
XCamReturn set(const char* function, const void* pointer, const Passed& passed)
{
    const auto* block = [&] {
        if constexpr (std::is_pointer_v<Passed>) {
            return passed;
        } else {
            return &passed;
        }
    }();
    return with_blocks(function, pointer, block, [=](Blocks& blocks) { store(blocks, *block); });
}

} // namespace

#define ISP_RESULT(name, Block, getter)                                                                                \
    XCamReturn getter(const rk_aiq_sys_ctx_t* ctx, Block* attr)                                                        \
    {                                                                                                                  \
        return get(__func__, ctx, attr);                                                                               \
    }
#define ISP_MODULE(name, Block, padding, getter, setter, Passed)                                                       \
    ISP_RESULT(name, Block, getter)                                                                                    \
    XCamReturn setter(const rk_aiq_sys_ctx_t* ctx, Passed attr)                                                        \
    {                                                                                                                  \
        return set(__func__, ctx, attr);                                                                               \
    }
#include "engine/modules.def"
