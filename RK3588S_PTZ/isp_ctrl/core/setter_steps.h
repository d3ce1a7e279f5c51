// The steps that every setter is made of: clamp the level, write it to the store, find the engine context, read the
// engine module's block, change it, write it back. A setter says only what is its own:
//
//     const isp::Call call{__func__, isp_id};
//     const int level = isp::clamp_level(call, value, para_get_isp_drc_max, isp::last_level(kDrcGain));
//     isp::write_setting(call, para_set_isp_drc_cur, level);
//     return isp::result(isp::modify<Drc>(call, kTexts, [&](drc_attrib_t& drc) { drc.gain = kDrcGain[level]; }));
//
// `modify` reports failures: a failed Get or Set is traced and ends the setter with -1. `modify_regardless` ignores
// them: the Set is made even after a failed Get, and the setter does not say so.
#pragma once

#include "isp_ctrl/core/context.h"
#include "isp_ctrl/core/engine_use.h"
#include "isp_ctrl/core/trace.h"
#include "isp_ctrl/isp_ctrl.h"
#include "platformpara/para_isp.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <type_traits>

namespace isp
{

/// What is being called: the function, whose name every trace line of the call shows, and the camera it is called for.
struct Call {
    const char* function;
    int isp_id;
};

/// A call at one of its steps: what code that several calls share needs to trace for them. Made from the call where the
/// step is called, whose line it keeps; code that takes a step passes it on.
struct Step : Call {
    Step(const Call& call, int at = __builtin_LINE()) : Call(call), line(at) {} // NOLINT(google-explicit-constructor)
    Step(const Place& place, int camera) : Call{place.function, camera}, line(place.line) {}

    int line;
};

inline bool valid_camera(const Step& step)
{
    return valid_id({step.function, step.line}, step.isp_id);
}

// ---- Store --------------------------------------------------------------------------------------------------------

inline int read_setting(const Call& call, int (*get)(int))
{
    return get(store_record(call.isp_id));
}

inline void write_setting(const Call& call, int (*set)(int, int), int value)
{
    set(store_record(call.isp_id), value);
}

/// Last index of a level table.
template <typename Table>
constexpr int last_level(const Table& table)
{
    return static_cast<int>(std::size(table)) - 1;
}

/// Clamps a level to the store's maximum, compared as signed integers, then to 0..last. The store is asked twice: to
/// compare and to assign.
inline int clamp_level(const Call& call, int level, int (*maximum)(int), int last = INT_MAX)
{
    if (level > read_setting(call, maximum)) {
        level = read_setting(call, maximum);
    }
    return std::clamp(level, 0, last);
}

/// Clamps a level to 0..last as an unsigned integer: a negative one becomes the last.
inline int clamp_level_unsigned(int level, int last)
{
    return static_cast<unsigned>(level) > static_cast<unsigned>(last) ? last : level;
}

/// Clamps a level like this to the store's maximum first, then to the table.
inline int clamp_level_unsigned(const Call& call, int level, int (*maximum)(int), int last)
{
    if (static_cast<unsigned>(level) > static_cast<unsigned>(read_setting(call, maximum))) {
        level = read_setting(call, maximum);
    }
    return clamp_level_unsigned(level, last);
}

inline int unfit(const Step& step)
{
    ISP_TRACE_AT(step, "ISP unfit\n\n");
    return ISP_UNFIT;
}

// ---- Engine ---------------------------------------------------------------------------------------------------------

/// What became of one engine call. Without a context "aiq ctx error" was traced and nothing called.
enum class Outcome { done, no_context, failed };

/// The result of a setter that ends with this outcome.
constexpr int result(Outcome outcome)
{
    return outcome == Outcome::failed ? -1 : 0;
}

// What a call without a context and a failed one trace; out of line, to keep the setters small.
[[gnu::cold]] void trace_no_context(const char* function, int line);
[[gnu::cold]] void trace_failure(const char* function, int line, const char* failed, XCamReturn code);

/// Makes one engine call with the camera's context, which is looked up afresh and not released before `function` has
/// returned. `failed` is the trace of a failure, with the engine's code (ISP_TRACE_FORMAT).
template <typename Function>
[[gnu::always_inline]] inline Outcome engine_call(const Step& step, const char* failed, Function function)
{
    XCamReturn code;
    if (!use_engine(step.isp_id, [&](const rk_aiq_sys_ctx_t* context) { code = function(context); })) [[unlikely]] {
        trace_no_context(step.function, step.line);
        return Outcome::no_context;
    }
    if (code == 0) [[likely]] {
        return Outcome::done;
    }
    trace_failure(step.function, step.line, failed, code);
    return Outcome::failed;
}

/// An engine module: its Get and Set calls.
template <auto GetCall, auto SetCall>
struct Module;

template <typename BlockType, XCamReturn (*GetCall)(const rk_aiq_sys_ctx_t*, BlockType*), auto SetCall>
struct Module<GetCall, SetCall> {
    using Block = BlockType;

    static XCamReturn get(const rk_aiq_sys_ctx_t* context, Block& block)
    {
        return GetCall(context, &block);
    }

    static XCamReturn set(const rk_aiq_sys_ctx_t* context, Block& block)
    {
        if constexpr (std::is_invocable_v<decltype(SetCall), const rk_aiq_sys_ctx_t*, Block*>) {
            return SetCall(context, &block);
        } else {
            return SetCall(context, block);
        }
    }
};

/// Traces of a module's failures (ISP_TRACE_FORMAT); null: not traced.
struct FailureTexts {
    const char* get = nullptr;
    const char* set = nullptr;
};

template <typename Mod>
[[gnu::always_inline]] inline Outcome fetch(const Step& step, typename Mod::Block& block, const char* failed)
{
    return engine_call(step, failed, [&](const rk_aiq_sys_ctx_t* context) { return Mod::get(context, block); });
}

template <typename Mod>
[[gnu::always_inline]] inline Outcome apply(const Step& step, typename Mod::Block& block, const char* failed)
{
    return engine_call(step, failed, [&](const rk_aiq_sys_ctx_t* context) { return Mod::set(context, block); });
}

/// Read-modify-write of a module's block that reports failures: the first call that is not done ends it.
template <typename Mod, typename Change>
[[gnu::always_inline]] inline Outcome modify(const Step& step, const FailureTexts& texts, Change change)
{
    typename Mod::Block block;
    const Outcome outcome = fetch<Mod>(step, block, texts.get);
    if (outcome != Outcome::done) {
        return outcome;
    }
    change(block);
    return apply<Mod>(step, block, texts.set);
}

/// Read-modify-write that ignores failures. The block starts zeroed, so that nothing undefined reaches the engine.
template <typename Mod, typename Change>
[[gnu::always_inline]] inline void modify_regardless(const Step& step, Change change)
{
    typename Mod::Block block{};
    if (fetch<Mod>(step, block, nullptr) != Outcome::no_context) {
        change(block);
        apply<Mod>(step, block, nullptr);
    }
}

} // namespace isp
