// Access to variables that threads share: each keeps its plain type, every access is atomic. Not std::atomic_ref, which
// cannot read a const variable before C++26.
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
