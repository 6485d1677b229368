#pragma once
/// @file
/// Visibility of the library's symbols: everything is hidden except the classes marked here.

#if defined(__GNUC__)
#define FOUNDATION_HTTPCLIENT_CURL_API __attribute__((visibility("default")))
#else
#define FOUNDATION_HTTPCLIENT_CURL_API
#endif
