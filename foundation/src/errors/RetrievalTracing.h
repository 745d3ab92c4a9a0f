#pragma once

namespace zel {

/// Whether retrievals are traced: the host has enabled their category and turned tracing on.
/// Decided once per process, at the first call. On any thread.
bool isRetrievalTracingActive();

} // namespace zel
