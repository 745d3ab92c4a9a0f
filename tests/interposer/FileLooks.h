#pragma once

namespace zel::test {

/// What this program has asked a file system for while counting.
struct FileLooks
{
    int entries = 0; ///< names taken out of folders one by one, without "." and ".."
    int glances = 0; ///< readings of a few entries at once
    int entriesAtGlances = 0; ///< what these brought, "." and ".." included
    int states = 0; ///< looks at a file: whether it is there, and what it is
    int resolutions = 0; ///< ways followed through all their links, a look for each folder
};

/// Counts from now on, beginning with 0.
void startCounting();
FileLooks stopCounting();

} // namespace zel::test
