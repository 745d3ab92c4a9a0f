#pragma once

namespace zel::test {

/// How the next fetch of this process goes.
struct TortureFetch
{
    int milliseconds = 0; ///< how long it takes
    bool fails = false; ///< half-way
    int opening = 0; ///< a number of the caller's
};

/// Makes references "torture:NAME" and their handlers known. The data is contentOf() the name and
/// this version, made in pieces; each fetch says "! start TIME OPENING PATH" and "! end TIME
/// OPENING PATH" on standard output.
void installTortureScheme(int version);

/// For the fetches whose tasks are made from now on.
void setTortureFetch(const TortureFetch &fetch);

} // namespace zel::test
