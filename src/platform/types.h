#pragma once
// The fixed-width types and result codes the ports speak. They keep the widths
// and numeric values of the operating-system calls the ports stand for, so the
// console can show and decide on the same codes everywhere.

#include <cstdint>

namespace OCL {

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using BOOL = std::int32_t;
using UINT = std::uint32_t;
using WCHAR = char16_t;
using DWORD_PTR = std::uintptr_t;

// Win32 error codes, named without the system's macro names so that a Windows
// build can include the system headers beside these.
namespace Err {
inline constexpr DWORD Success = 0;
inline constexpr DWORD FileNotFound = 2;
inline constexpr DWORD PathNotFound = 3;
inline constexpr DWORD AccessDenied = 5;
inline constexpr DWORD InvalidHandle = 6;
inline constexpr DWORD NotEnoughMemory = 8;
inline constexpr DWORD WriteFault = 29;
inline constexpr DWORD BadNetPath = 53;
inline constexpr DWORD DevNotExist = 55;
inline constexpr DWORD BadNetName = 67;
inline constexpr DWORD InvalidParameter = 87;
inline constexpr DWORD BrokenPipe = 109;
inline constexpr DWORD SemTimeout = 121;
inline constexpr DWORD InsufficientBuffer = 122;
inline constexpr DWORD InvalidName = 123;
inline constexpr DWORD ModNotFound = 126;
inline constexpr DWORD ProcNotFound = 127;
inline constexpr DWORD BadPipe = 230;
inline constexpr DWORD PipeBusy = 231;
inline constexpr DWORD MoreData = 234;
inline constexpr DWORD NoMoreItems = 259;
inline constexpr DWORD BadDb = 1009;
inline constexpr DWORD CantWrite = 1013;
inline constexpr DWORD InvalidServiceControl = 1052;
inline constexpr DWORD ServiceAlreadyRunning = 1056;
inline constexpr DWORD ServiceDoesNotExist = 1060;
inline constexpr DWORD ServiceCannotAcceptControl = 1061;
inline constexpr DWORD ServiceNotActive = 1062;
inline constexpr DWORD NotContainer = 1207;
inline constexpr DWORD NoNetwork = 1222;
inline constexpr DWORD NoSuchDomain = 1355;
inline constexpr DWORD NerrGroupNotFound = 2220;
inline constexpr DWORD NerrUserNotFound = 2221;
inline constexpr DWORD NerrDcNotFound = 2453;

// RAS administration and router administration results.
inline constexpr DWORD RpcServerUnavailable = 1722;
inline constexpr DWORD ProtocolNotConfigured = 731;
} // namespace Err

} // namespace OCL
