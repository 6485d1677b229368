#pragma once
#include "output/Destination.h"
#include "output/Sha256.h"

#include <mutex>

namespace foundation::httpclient_tool {

/// Standard output, a pipe or a device: bytes go out as they come and cannot be taken back. A body that
/// begins again is read in silence up to the bytes that went out, and goes on behind them only when its
/// beginning has the same SHA-256.
class StreamOutput final : public Destination {
public:
    /// The last bytes that went out and can be read back; a transport compares 64 KiB.
    static constexpr std::size_t memory = std::size_t{128} * 1024;

    /// Puts out to a copy of the descriptor.
    /// @throws Failure with `ExitCode::Failed` when it is closed or can only be read.
    static std::unique_ptr<StreamOutput> onDescriptor(std::string name, int descriptor);
    /// Puts out to what is at `path`, which is opened for the first byte: a pipe waits for its reader.
    static std::unique_ptr<StreamOutput> onPath(const std::filesystem::path& path);

    ~StreamOutput() override;

    /// Puts this text out before the first byte of the body, as no part of it.
    void setPreamble(std::string text) { preamble_ = std::move(text); }

    std::int64_t read(std::int64_t offset, char* bytes, std::size_t capacity) const override;
    std::int64_t size() const noexcept override { return emitted_; }
    std::optional<Failure> trouble() const override;
    void wake() noexcept override;
    void requireContinued() override;
    void publish() override;

private:
    StreamOutput(std::string name, std::filesystem::path path, int descriptor);
    void beginAt(std::int64_t offset, const Entity& entity) override;
    bool add(std::string_view bytes) override;
    std::string_view verified(std::string_view bytes);
    bool open();
    bool emit(std::string_view bytes);
    bool emitPreamble();
    bool fail(Failure failure);
    Failure changed() const;
    void remember(std::string_view bytes);

    std::filesystem::path path_;
    int descriptor_;
    int wake_;
    std::string preamble_;
    std::atomic<std::int64_t> emitted_{0};
    Sha256 digest_;                                 ///< Of what went out.
    std::string last_ = std::string(memory, '\0');  ///< Byte n of the body at n modulo its size.
    Sha256 again_;                                  ///< Of a body that began again.
    std::int64_t compared_ = -1;                    ///< Its bytes so far; -1: nothing is compared.
    mutable std::mutex mutex_;                      ///< Guards `trouble_`.
    std::optional<Failure> trouble_;
};

}  // namespace foundation::httpclient_tool
