#include "platform/site/rassapi/raserrors.h"

namespace OCL::Site {

const char* RasErrorText(DWORD code) {
    switch (code) {
    case Err::Success:
        return "The operation completed successfully.";
    case Err::AccessDenied:
        return "Access is denied.";
    case Err::NotEnoughMemory:
        return "Not enough memory to complete the operation.";
    case Err::BadNetPath:
        return "The network path was not found.";
    case Err::DevNotExist:
        return "The port does not exist on this server.";
    case Err::InvalidParameter:
        return "The parameter is incorrect.";
    case Err::InsufficientBuffer:
        return "The buffer is too small for the text.";
    case Err::ProtocolNotConfigured:
        return "The protocol was not negotiated for this session.";
    case Err::CantWrite:
        return "The server could not save the change.";
    case Err::RpcServerUnavailable:
        return "The remote access server is not running on this computer.";
    case Err::NerrUserNotFound:
        return "The user name could not be found.";
    default:
        return nullptr;
    }
}

} // namespace OCL::Site
