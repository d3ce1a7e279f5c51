// One step of a fixed order of settings: a setter and the field of the settings record that it applies.
#pragma once

#include "isp_ctrl/isp_ctrl.h"
#include "platformpara/para_isp.h"

#include <type_traits>

namespace isp
{

struct SettingStep {
    int (*apply)(int isp_id, int value);
    int kiv_isp_param_s::* field;
};

template <typename Setter>
struct SettingValue;
template <typename Value>
struct SettingValue<int (*)(int, Value)> {
    using Type = Value;
};

/// A setter with its enum taken as a plain int.
template <auto Setter>
int apply_setting(int isp_id, int value)
{
    return Setter(isp_id, typename SettingValue<decltype(Setter)>::Type{value});
}

} // namespace isp
