#pragma once

namespace foundation::httpclient_curl {

class Engine;

/// Says, while it lives, that the calling thread is inside transfers of this engine, whose streams and
/// callbacks are the caller's code. Marks nest as the calls do.
class TransferMark {
public:
    explicit TransferMark(const Engine& engine);
    TransferMark(const TransferMark&) = delete;
    TransferMark& operator=(const TransferMark&) = delete;
    ~TransferMark();

    /// Whether the calling thread is inside a transfer of this engine.
    static bool isSet(const Engine& engine);

private:
    const Engine& engine_;
    const TransferMark* former_;
};

}  // namespace foundation::httpclient_curl
