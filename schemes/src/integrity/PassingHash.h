#pragma once

#include <QByteArray>
#include <QCryptographicHash>

#include <memory>

struct evp_md_ctx_st;

namespace zel {

/// The checksum of bytes as they pass by. SHA-256 keeps up with a fast network where the processor
/// has instructions for it, which Qt's does not use. One thread at a time.
class PassingHash
{
public:
    explicit PassingHash(QCryptographicHash::Algorithm algorithm);
    ~PassingHash();
    PassingHash(const PassingHash &) = delete;
    PassingHash &operator=(const PassingHash &) = delete;

    void reset();
    void add(const char *data, qint64 count);
    /// The raw bytes of the sum of all since the last reset; more may follow.
    QByteArray result() const;

private:
    struct Deleter
    {
        void operator()(evp_md_ctx_st *context) const;
    };
    using Context = std::unique_ptr<evp_md_ctx_st, Deleter>;

    static Context newContext();

    Context context; ///< null where Qt's has to do
    QCryptographicHash plain;
};

} // namespace zel
