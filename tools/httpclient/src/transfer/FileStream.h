#pragma once
#include "output/BodyFile.h"

#include <array>
#include <iostream>
#include <memory>
#include <streambuf>

namespace foundation::httpclient_tool {

/// A stream buffer over a `BodyFile`. Writes go to the file at once: nothing is left to be flushed, so no
/// error can come late, and a stream that is destroyed late cannot write. Reading starts at the beginning.
class FileBuffer final : public std::streambuf {
public:
    explicit FileBuffer(std::shared_ptr<BodyFile> file) noexcept;

protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* bytes, std::streamsize count) override;
    int_type underflow() override;
    pos_type seekoff(off_type offset,
                     std::ios_base::seekdir from,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    std::shared_ptr<BodyFile> file_;
    off_type writePosition_ = 0;
    off_type readPosition_ = 0;  ///< In the file, of the end of the bytes in `input_`.
    std::array<char, 4096> input_{};
};

/// A read/write stream over a `BodyFile`, as a response stream factory hands it out.
class FileStream final : public std::iostream {
public:
    explicit FileStream(std::shared_ptr<BodyFile> file);

private:
    FileBuffer buffer_;
};

}  // namespace foundation::httpclient_tool
