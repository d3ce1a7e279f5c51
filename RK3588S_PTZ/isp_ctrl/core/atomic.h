// Access to variables that threads share: each keeps its plain type, every access is atomic. Not std::atomic_ref, which
// cannot read a const variable before C++26.
//
//     int role = 0; // read by every thread
//     isp::shared_set(role, isp_id);
//     return isp::shared_get(role);
#pragma once

namespace isp
{

template <typename T>
T shared_get(const T& variable)
{
    T value;
    __atomic_load(&variable, &value, __ATOMIC_ACQUIRE);
    return value;
}

template <typename T>
void shared_set(T& variable, T value)
{
    __atomic_store(&variable, &value, __ATOMIC_RELEASE);
}

} // namespace isp
