#pragma once
#include <string_view>
#include <sys/types.h>
#include <termios.h>

namespace foundation::httpclient_curl {

/// The terminal that controls the process, `/dev/tty`, for keys that come one by one and are not shown.
/// The keys that send signals come as bytes, too: else they could end the process before the settings are
/// restored.
class Terminal {
public:
    /// Opens it and takes it over, if the process runs in its foreground.
    Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    /// Restores its settings.
    ~Terminal();

    /// Whether its settings are ours.
    bool isTaken() const noexcept { return isTaken_; }
    /// Sets it to our settings again. In the background this stops the process, as all reading programs
    /// are stopped there.
    void take();
    /// Restores its settings.
    void release();

    void print(std::string_view text) const;

    enum class Input { Key, None, End };
    /// The next byte if one comes within the time; `End` when the terminal is gone.
    Input readKey(int milliseconds, char& key) const;
    /// Whether the key is the one that the terminal's settings name for this purpose (VINTR, VEOF...).
    bool isKey(char key, int purpose) const;

private:
    bool set(int when, const termios& settings) const;

    int file_;
    termios former_{};
    bool isTaken_ = false;
};

}  // namespace foundation::httpclient_curl
