#include "FileLooks.h"

#include "Wrapper.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <sys/stat.h>

namespace {

std::atomic<bool> isCounting = false;
std::atomic<int> entries = 0;
std::atomic<int> glances = 0;
std::atomic<int> entriesAtGlances = 0;
std::atomic<int> states = 0;
std::atomic<int> resolutions = 0;

void countEntry(const char *name)
{
    if (isCounting && std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0)
        ++entries;
}

void countGlance(const char *buffer, ssize_t size)
{
    if (!isCounting)
        return;
    ++glances;
    for (ssize_t position = 0; position < size; ++entriesAtGlances)
        position += reinterpret_cast<const dirent64 *>(buffer + position)->d_reclen;
}

void countState()
{
    if (isCounting)
        ++states;
}

} // namespace

namespace zel::test {

void startCounting()
{
    entries = glances = entriesAtGlances = states = resolutions = 0;
    isCounting = true;
}

FileLooks stopCounting()
{
    isCounting = false;
    return { entries, glances, entriesAtGlances, states, resolutions };
}

} // namespace zel::test

using zel::test::original;

extern "C" {

ZEL_VISIBLE dirent *readdir(DIR *folder)
{
    static const auto next = original<dirent *(*)(DIR *)>("readdir");
    dirent *entry = next(folder);
    if (entry)
        countEntry(entry->d_name);
    return entry;
}

ZEL_VISIBLE dirent64 *readdir64(DIR *folder)
{
    static const auto next = original<dirent64 *(*)(DIR *)>("readdir64");
    dirent64 *entry = next(folder);
    if (entry)
        countEntry(entry->d_name);
    return entry;
}

ZEL_VISIBLE ssize_t getdents64(int folder, void *buffer, size_t size) noexcept
{
    static const auto next = original<ssize_t (*)(int, void *, size_t)>("getdents64");
    const ssize_t got = next(folder, buffer, size);
    countGlance(static_cast<const char *>(buffer), got);
    return got;
}

ZEL_VISIBLE int statx(int folder, const char *path, int flags, unsigned mask, struct statx *info)
{
    static const auto next
        = original<int (*)(int, const char *, int, unsigned, struct statx *)>("statx");
    countState();
    return next(folder, path, flags, mask, info);
}

ZEL_VISIBLE int fstatat(int folder, const char *path, struct stat *info, int flags) noexcept
{
    static const auto next = original<int (*)(int, const char *, struct stat *, int)>("fstatat");
    countState();
    return next(folder, path, info, flags);
}

ZEL_VISIBLE int lstat(const char *path, struct stat *info) noexcept
{
    static const auto next = original<int (*)(const char *, struct stat *)>("lstat");
    countState();
    return next(path, info);
}

ZEL_VISIBLE char *realpath(const char *path, char *resolved) noexcept
{
    static const auto next = original<char *(*)(const char *, char *)>("realpath");
    if (isCounting)
        ++resolutions;
    return next(path, resolved);
}

} // extern "C"
