#include "report/SystemFailure.h"

#include <cerrno>
#include <system_error>

namespace foundation::httpclient_tool {
namespace {

const char* adviceFor(int error) {
    switch (error) {
        case ENOSPC:
        case EDQUOT:
            return "free some space, or choose another place";
        case EFBIG:
            return "allow larger files, or choose another place";
        case EACCES:
        case EPERM:
        case EROFS:
            return "check the permissions, or choose another place";
        case ENOENT:
        case ENOTDIR:
            return "check the name and its folder";
        case EISDIR:
            return "name a file";
        case ENAMETOOLONG:
            return "choose a shorter name";
        case ELOOP:
            return "check the symbolic links";
        case EEXIST:
            return "remove what is left there";
        case EPIPE:
            return "its reader has gone; let it read to the end";
        case EBADF:
            return "it is closed; open it, or choose another place";
        default:
            return "check the device, or choose another place";
    }
}

}  // namespace

Failure systemFailure(const std::string& what, int error) {
    return {ExitCode::Failed,
            what + ": " + std::generic_category().message(error) + "; " + adviceFor(error)};
}

}  // namespace foundation::httpclient_tool
