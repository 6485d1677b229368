#pragma once
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>

namespace foundation::httpclient_tool {

/// Standard error: whole lines, and on a terminal one more line at the bottom that is written over. What
/// may come from a server or a command line is made safe here, on its way out.
///
/// @par Thread safety
/// Internally locked: the mutex covers the stream and whether the bottom line is shown.
class ErrorOutput {
public:
    ErrorOutput(std::ostream& stream, bool isTerminal, bool hasColours = false)
        : stream_(stream), isTerminal_(isTerminal), hasColours_(hasColours) {}

    bool isTerminal() const noexcept { return isTerminal_; }
    bool hasColours() const noexcept { return hasColours_; }
    /// Writes "httpclient: " and the text as one line.
    void failure(std::string_view text) { line("httpclient: ", text); }
    /// Writes "* " and the text as one line.
    void note(std::string_view text) { line("* ", text); }
    /// Shows the text as the bottom line, in place of the former one.
    void showStatus(std::string_view text);
    /// Leaves the bottom line where it is and ends it.
    void keepStatus();

private:
    void line(std::string_view prefix, std::string_view text);

    std::mutex mutex_;
    std::ostream& stream_;
    bool isTerminal_;
    bool hasColours_;
    bool statusShown_ = false;
};

}  // namespace foundation::httpclient_tool
