#include "Workloads.h"

#include <curl/curl.h>

#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::benchmarks::raw {
namespace {

struct Cleanup {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiCleanup {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
struct ListCleanup {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Easy = std::unique_ptr<CURL, Cleanup>;
using Multi = std::unique_ptr<CURLM, MultiCleanup>;
using List = std::unique_ptr<curl_slist, ListCleanup>;

void require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

// What came of one transfer.
struct Sink {
    std::int64_t bytes = 0;
    std::string body;
    bool keepsBody = true;
};

std::size_t takeBody(char* data, std::size_t size, std::size_t count, void* sink) {
    auto& taken = *static_cast<Sink*>(sink);
    taken.bytes += static_cast<std::int64_t>(size * count);
    if (taken.keepsBody) {
        taken.body.append(data, size * count);
    }
    return size * count;
}

std::size_t takeHeader(char* /*data*/, std::size_t size, std::size_t count, void* /*unused*/) {
    return size * count;
}

// The options that the transport sets for a GET.
void configure(CURL* easy, const std::string& url, curl_slist* lines, Sink& sink) {
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_PRIVATE, &sink);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, 131072L);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, lines);
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, 5000L);
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXAGE_CONN, 55L);
    curl_easy_setopt(easy, CURLOPT_PROXY, "");
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "");
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &takeHeader);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &takeBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &sink);
    curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
}

// A place among the transfers under way.
struct Slot {
    Easy easy;
    Sink sink;
};

class ParallelGets {
public:
    ParallelGets(const std::string& url, Handles handles, std::size_t size)
        : url_(url),
          handles_(handles),
          size_(size),
          multi_(curl_multi_init()),
          lines_(curl_slist_append(nullptr, "Expect:")) {
        curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, 64L);
    }

    void run(int count, int inFlight) {
        std::vector<Slot> slots(static_cast<std::size_t>(inFlight));
        int toStart = count;
        for (Slot& slot : slots) {
            start(slot);
            --toStart;
        }
        int ended = 0;
        while (ended < count) {
            int running = 0;
            curl_multi_perform(multi_.get(), &running);
            int left = 0;
            bool any = false;
            while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
                char* owner = nullptr;
                curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &owner);
                require(message->data.result == CURLE_OK, "a raw transfer failed");
                Slot& slot = slotOf(slots, owner);
                require(slot.sink.body.size() == size_, "a raw transfer brought other bytes");
                curl_multi_remove_handle(multi_.get(), slot.easy.get());
                ++ended;
                any = true;
                if (toStart-- > 0) {
                    start(slot);
                } else {
                    slot.easy.reset();
                }
            }
            if (!any) {
                curl_multi_poll(multi_.get(), nullptr, 0, 1000, nullptr);
            }
        }
    }

private:
    static Slot& slotOf(std::vector<Slot>& slots, const char* owner) {
        for (Slot& slot : slots) {
            if (reinterpret_cast<const char*>(&slot.sink) == owner) {
                return slot;
            }
        }
        throw std::runtime_error("a transfer of nobody");
    }

    void start(Slot& slot) {
        slot.sink = Sink();
        if (handles_ == Handles::Fresh || slot.easy == nullptr) {
            slot.easy.reset(curl_easy_init());
        } else {
            curl_easy_reset(slot.easy.get());
        }
        configure(slot.easy.get(), url_, lines_.get(), slot.sink);
        curl_multi_add_handle(multi_.get(), slot.easy.get());
    }

    std::string url_;
    Handles handles_;
    std::size_t size_;
    Multi multi_;
    List lines_;
};

}  // namespace

Cost parallelGets(const std::string& url,
                  int count,
                  int inFlight,
                  Handles handles,
                  std::size_t size) {
    ParallelGets gets(url, handles, size);
    gets.run(inFlight, inFlight);  // Connects.
    return costOf([&] { gets.run(count, inFlight); });
}

Cost sequentialGets(const std::string& url, int count, std::size_t size) {
    const Easy easy(curl_easy_init());
    const List lines(curl_slist_append(nullptr, "Expect:"));
    const auto one = [&] {
        Sink sink;
        curl_easy_reset(easy.get());
        configure(easy.get(), url, lines.get(), sink);
        require(curl_easy_perform(easy.get()) == CURLE_OK, "a raw transfer failed");
        require(sink.body.size() == size, "a raw transfer brought other bytes");
    };
    one();
    return costOf([&] {
        for (int i = 0; i < count; ++i) {
            one();
        }
    });
}

Cost download(const std::string& url, std::int64_t size) {
    const Easy easy(curl_easy_init());
    const List lines(curl_slist_append(nullptr, "Expect:"));
    Sink sink;
    sink.keepsBody = false;
    configure(easy.get(), url, lines.get(), sink);
    return costOf([&] {
        require(curl_easy_perform(easy.get()) == CURLE_OK, "a raw transfer failed");
        require(sink.bytes == size, "a raw transfer brought other bytes");
    });
}

}  // namespace foundation::benchmarks::raw
