#include "platform/StackTrace.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

namespace zel {

namespace {

struct Place
{
    std::string module;
    std::string exportedName;
    std::uintptr_t offset;
};

std::string hexadecimal(std::uintptr_t number)
{
    std::array<char, 32> digits {};
    std::snprintf(digits.data(), digits.size(), "%#zx", size_t { number });
    return digits.data();
}

std::string demangled(const char *name)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> plain(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    return plain ? plain.get() : name;
}

Place placeOf(void *call)
{
    // What is on the stack is the address behind the call, which may be of the next function.
    void *const address = static_cast<char *>(call) - 1;
    Dl_info info;
    if (dladdr(address, &info) == 0 || !info.dli_fname)
        return { "", "", reinterpret_cast<std::uintptr_t>(address) };
    const auto offset = static_cast<char *>(address) - static_cast<char *>(info.dli_fbase);
    return { info.dli_fname, info.dli_sname ? demangled(info.dli_sname) : "",
             static_cast<std::uintptr_t>(offset) };
}

/// Functions of a hidden library have no names but in what a debugger reads. So a tool that comes
/// with the compilers is asked, once for all places of one module. Without it there are no lines.
std::vector<std::string> linesOf(const std::vector<Place> &places)
{
    std::string command = "addr2line -Cfp -e '" + places.front().module + "'";
    for (const Place &place : places)
        command += ' ' + hexadecimal(place.offset);
    command += " 2>/dev/null";

    std::vector<std::string> lines;
    const std::unique_ptr<FILE, decltype(&pclose)> answer(popen(command.c_str(), "r"), &pclose);
    std::array<char, 4096> line {};
    while (answer && std::fgets(line.data(), int(line.size()), answer.get()))
        lines.emplace_back(line.data());
    lines.resize(places.size());
    return lines;
}

/// All of one module.
std::string described(const std::vector<Place> &places)
{
    std::string text;
    const std::vector<std::string> lines = linesOf(places);
    for (size_t i = 0; i < places.size(); ++i) {
        const Place &place = places[i];
        const bool isKnown = !lines[i].empty() && lines[i].compare(0, 2, "??") != 0;
        text += "    "
            + (isKnown ? lines[i]
                       : place.exportedName + " in " + place.module + '+'
                       + hexadecimal(place.offset) + '\n');
    }
    return text;
}

} // namespace

[[gnu::noinline]] StackTrace StackTrace::ofThisThread()
{
    // Further in are this function and what a sanitizer may put around backtrace(), however many.
    constexpr int furtherIn = 3;
    void *const caller = __builtin_return_address(0);

    std::array<void *, mostCalls + furtherIn> found {};
    const auto end = found.begin() + backtrace(found.data(), int(found.size()));
    const auto first = std::find(found.begin(), end, caller);

    StackTrace trace;
    trace.count = std::min(int(end - first), mostCalls);
    std::copy_n(first, trace.count, trace.calls.begin());
    return trace;
}

std::string StackTrace::text() const
{
    std::string all;
    std::vector<Place> ofOneModule;
    for (int i = 0; i < count; ++i) {
        Place place = placeOf(calls[size_t(i)]);
        if (!ofOneModule.empty() && ofOneModule.front().module != place.module) {
            all += described(ofOneModule);
            ofOneModule.clear();
        }
        ofOneModule.push_back(std::move(place));
    }
    return ofOneModule.empty() ? all : all + described(ofOneModule);
}

} // namespace zel
