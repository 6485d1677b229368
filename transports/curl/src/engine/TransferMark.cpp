#include "engine/TransferMark.h"

#include <utility>

namespace foundation::httpclient_curl {
namespace {

constinit thread_local const TransferMark* innermostMark = nullptr;

}  // namespace

TransferMark::TransferMark(const Engine& engine)
    : engine_(engine), former_(std::exchange(innermostMark, this)) {}

TransferMark::~TransferMark() {
    innermostMark = former_;
}

bool TransferMark::isSet(const Engine& engine) {
    for (const TransferMark* mark = innermostMark; mark != nullptr; mark = mark->former_) {
        if (&mark->engine_ == &engine) {
            return true;
        }
    }
    return false;
}

}  // namespace foundation::httpclient_curl
