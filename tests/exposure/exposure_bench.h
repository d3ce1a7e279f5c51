// The bench of the exposure tests.
#pragma once

#include "support/bench.h"

namespace bench
{

inline constexpr int kCamera = 2;

class ExposureBench : public Running<kCamera>
{
protected:
    /// Initial values in store and engine, but for the mode.
    static void begin(int mode)
    {
        sim::host::reset_store();
        store(kCamera, "exposure_mode", mode);
        const void* context = rkipc_aiq_get_ctx(kCamera);
        sim::engine::poke(context, sim::engine::initial<Uapi_ExpSwAttrV2_t>());
        sim::engine::poke(context, sim::engine::initial<Uapi_LinExpAttrV2_t>());
        sim::engine::poke(context, sim::engine::initial<paRange_t>());
    }

    static Uapi_ExpSwAttrV2_t ae()
    {
        return held<Uapi_ExpSwAttrV2_t>(kCamera);
    }
    static float bias()
    {
        return held<Uapi_LinExpAttrV2_t>(kCamera).Params.Evbias;
    }
};

} // namespace bench
