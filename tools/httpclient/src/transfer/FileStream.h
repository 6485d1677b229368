#pragma once
#include "output/BodyFile.h"
#include "output/PositionedBuffer.h"

#include <iostream>
#include <memory>

namespace foundation::httpclient_tool {

/// A stream buffer over a `BodyFile`. Writes go to the file at once: a stream that is destroyed late cannot
/// write.
class FileBuffer final : public PositionedBuffer {
public:
    explicit FileBuffer(std::shared_ptr<BodyFile> file) noexcept;

protected:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override;
    std::int64_t readAt(std::int64_t position, char* bytes, std::size_t capacity) override;
    std::int64_t end() const override { return file_->size(); }
    std::int64_t writePosition() const override { return writePosition_; }
    bool moveWriting(std::int64_t position) override;

private:
    std::shared_ptr<BodyFile> file_;
    std::int64_t writePosition_ = 0;
};

/// A read/write stream over a `BodyFile`.
class FileStream final : public std::iostream {
public:
    explicit FileStream(std::shared_ptr<BodyFile> file);

private:
    FileBuffer buffer_;
};

}  // namespace foundation::httpclient_tool
