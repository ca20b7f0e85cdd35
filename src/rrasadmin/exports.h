#pragma once
// How _CWADMIN marks the names its loader may look up; everything else is hidden.

#if defined(_WIN32)
#define CW_EXPORT extern "C" __declspec(dllexport)
#else
#define CW_EXPORT extern "C" __attribute__((visibility("default")))
#endif
