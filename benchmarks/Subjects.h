#pragma once

namespace foundation::httpclient_core::benchmarks {

class Benchmarks;

/// Each adds the rows of one subject, for every side that has it.
/// @{
void addHeaders(Benchmarks& benchmarks);
void addURLs(Benchmarks& benchmarks);
void addHeaderTexts(Benchmarks& benchmarks);
void addExchanges(Benchmarks& benchmarks);
void addBodies(Benchmarks& benchmarks);
/// @}

/// Puts the versions of the compiler and of all libraries into the reports.
void addVersions();

}  // namespace foundation::httpclient_core::benchmarks
