#pragma once

/// What stands below the options in the help of the program and of each command.
namespace zel::cli {

inline constexpr auto programExamples = R"(Examples:
  zelcache get https://data.example.org/runs/run1.raw
  zelcache status
  zelcache get --help)";

inline constexpr auto exitCodes = R"(Exit codes:
  0 success            6 integrity violated            20 refused or canceled
  1 failed             7 no space left                 21 feature lacking
  2 usage, reference   8 the cache cannot be opened   130 interrupted
  3 the answer is no   4, 5 data, container           143 terminated)";

inline constexpr auto getExamples
    = R"(Prints one local path a line, in the order of the references. A reference that
cannot be had prints nothing; the others are still fetched.

Examples:
  zelcache get https://data.example.org/runs/run1.raw
  zelcache get -f references.txt --no-progress
  zelcache get --json share:/mnt/lab/run1.d | jq -r '.results[].path'
  grep 2024 references.txt | zelcache get -f -)";

inline constexpr auto existsExamples
    = R"(Prints "yes" or "no" and the reference, one line each. The exit code is 3 if the
answer is no for any of them.

Examples:
  zelcache exists https://data.example.org/runs/run1.raw
  zelcache -q exists share:/mnt/lab/run1.d && echo there)";

inline constexpr auto infoExamples
    = R"(Tells what a reference leads to and what the cache holds of it.

Examples:
  zelcache info https://data.example.org/runs/run1.raw
  zelcache info --json share:/mnt/lab/run1.d)";

inline constexpr auto pathExamples
    = R"(Prints where the resource lies or would lie, without fetching it. The exit code
is 3 if it is not there yet.

Examples:
  zelcache path https://data.example.org/runs/run1.raw)";

inline constexpr auto addExamples
    = R"(Copies a local file or folder into the cache as the resource of that reference
and prints where it lies now.

Examples:
  zelcache add https://data.example.org/runs/run1.raw ./run1.raw)";

inline constexpr auto listExamples
    = R"(Lists the resources that the cache knows. Waits for nobody: it works while other
programs use the cache, and changes nothing.

Orders: size (biggest first), age (longest unaccessed first), name (by reference).
"zelcache formats" names the formats; the name of the local copy tells them here.

Examples:
  zelcache list
  zelcache list --sort size --status ready
  zelcache list --sort age --format mzml
  zelcache list --json | jq '.resources[] | select(.status == "Ready")')";

inline constexpr auto purgeExamples
    = R"(Removes what was accessed longest ago and is not in use, until the cache is small
enough: at nine tenths of its optimal size, if it is above that, or at SIZE. The
last resource that goes may take it below. No setting changes. The exit code is 3
if it could not become small enough; standard error then says what holds the rest.

Sizes: K, M, G, T and KiB, MiB, ... are powers of 1024, KB, MB, ... of 1000.

Examples:
  zelcache purge --dry-run
  zelcache purge --to 50GiB
  zelcache purge --to 0 --json | jq '.removed[].reference')";

inline constexpr auto outdatedExamples
    = R"(Lists and removes the resources whose reference stands for a newer major version
than the copy in the cache, in use or not: the next program that wants one fetches
it anew. Ctrl-C stops after the resource that is just being removed.

Examples:
  zelcache outdated --dry-run
  zelcache outdated --json | jq '.removed[].reference')";

inline constexpr auto policyExamples
    = R"(Prints the cleanup policy that the cache has stored for the resource, or stores
another one: Never (the data stays when the last program closes it), OnClose (it
goes then), OnDemand (it stays unless a program wants to keep little). All of them
may be purged when the cache is full. The exit code is 3 if the cache does not know
the resource.

Examples:
  zelcache policy https://data.example.org/runs/run1.raw
  zelcache policy https://data.example.org/runs/run1.raw OnClose)";

inline constexpr auto removeExamples
    = R"(Removes the data of resources that nobody uses. One that is not there, is in use
or has the policy Never is left alone; the others still go. The exit code is 3
then, and standard error says why and who uses it.

Examples:
  zelcache remove https://data.example.org/runs/run1.raw
  zelcache remove --dry-run share:/mnt/lab/run1.d share:/mnt/lab/run2.d
  zelcache remove --force share:/mnt/lab/run1.d)";

inline constexpr auto statusExamples
    = R"(Shows where the cache lies, how full it is, who uses it and what is being
fetched. Waits for nobody and changes nothing.

Examples:
  zelcache status
  zelcache --cache /data/cache status --json)";

inline constexpr auto configExamples
    = R"(Settings are CacheLocationPath (an absolute directory), OptimalCacheSize and
MaximumCacheSize (bytes, or with a unit: 500MiB, 1.5TiB). Programs that run already
keep the settings that they have read.

Examples:
  zelcache config show
  zelcache config get OptimalCacheSize
  zelcache config set MaximumCacheSize 200GiB
  zelcache config path)";

inline constexpr auto formatsExamples
    = R"(Without a path, the table of all data formats. With paths, the formats that each of
them has by its data, or if it has none by its name. The exit code is 3 if a path
does not exist or is of no known format.

Examples:
  zelcache formats
  zelcache formats ./run1.d ./run1.raw
  zelcache formats --json ./run1.d | jq -r '.results[].formats[]')";

inline constexpr auto recountExamples
    = R"(Counts on the disk how large cached data is, files beside it included, and tells what
changed. Without a reference all of the cache is counted: all other programs wait for
their turn meanwhile, and it cannot be cut short.

Examples:
  zelcache recount
  zelcache recount https://data.example.org/runs/run1.raw)";

} // namespace zel::cli
