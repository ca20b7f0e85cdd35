#include "rrasadmin/portviewfile.h"

#include "ini/inifile.h"

#include <string>

namespace OCL::Rras {
namespace {

Ini::Files& ViewFiles() {
    static Ini::Files files(Ini::FilesOptions{std::size_t{1} << 20, std::size_t{1} << 16, false, {}});
    return files;
}

} // namespace

DWORD WritePortView(const std::filesystem::path& path, const RouterPort& port) {
    constexpr std::string_view kSection = "PS";
    Ini::Edit edit;
    auto text = [&](std::string_view key, const std::string& value) {
        edit.Set(kSection, key, value);
    };
    auto number = [&](std::string_view key, std::int64_t value) {
        text(key, std::to_string(value));
    };

    text("NetBIOS", port.computer);
    text("DeviceName", port.deviceName);
    text("DeviceType", port.deviceType);
    text("MediaName", port.mediaName);
    if (port.connected)
        text("UserName", port.user);
    number("LineSpeed", port.lineSpeed);
    number("PortCond", port.lineCondition);
    number("HWCond", port.hardwareCondition);
    number("AlignErr", port.alignErr);
    number("BufOverErr", port.bufOverErr);
    number("CrcErr", port.crcErr);
    number("FramingErr", port.framingErr);
    number("HWOverErr", port.hwOverErr);
    number("TOErr", port.toErr);
    number("BytesXmit", port.bytesXmit);
    number("BytesXcomp", port.bytesXcomp);
    number("BytesXUncomp", port.bytesXUncomp);
    number("FramesXmit", port.framesXmit);
    number("BytesRcved", port.bytesRcved);
    number("BytesRcomp", port.bytesRcomp);
    number("BytesRUncomp", port.bytesRUncomp);
    number("FramesRcved", port.framesRcved);
    text("NB", port.connected ? port.computer : std::string());
    text("IP", port.ip);
    text("IPX", port.ipx);
    number("Started", port.connected ? port.start : 0);

    return ViewFiles().Apply(path, edit) ? Err::Success : Err::CantWrite;
}

} // namespace OCL::Rras
