#if defined(__SANITIZE_THREAD__)
/// Read by ThreadSanitizer at start. An exception that one thread throws out of a future is released by
/// two threads; the count that orders them lies in the C++ runtime library, which is not instrumented.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's own name.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "race:std::__exception_ptr::exception_ptr::_M_release\n";
}
#endif
