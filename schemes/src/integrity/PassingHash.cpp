#include "integrity/PassingHash.h"

#include <openssl/evp.h>

namespace zel {

namespace {

bool begin(EVP_MD_CTX *context)
{
    return EVP_DigestInit_ex(context, EVP_sha256(), nullptr) == 1;
}

} // namespace

void PassingHash::Deleter::operator()(evp_md_ctx_st *context) const
{
    EVP_MD_CTX_free(context);
}

PassingHash::PassingHash(QCryptographicHash::Algorithm algorithm)
    : plain(algorithm)
{
    if (algorithm == QCryptographicHash::Sha256)
        context = newContext();
}

PassingHash::~PassingHash() = default;

/// Null if the system's library has been set up to refuse.
PassingHash::Context PassingHash::newContext()
{
    Context made(EVP_MD_CTX_new());
    return made && begin(made.get()) ? std::move(made) : nullptr;
}

void PassingHash::reset()
{
    if (context)
        context = newContext();
    plain.reset();
}

void PassingHash::add(const char *data, qint64 count)
{
    if (context)
        EVP_DigestUpdate(context.get(), data, size_t(count));
    else
        plain.addData(QByteArrayView(data, count));
}

QByteArray PassingHash::result() const
{
    if (!context)
        return plain.result();
    const Context copy = newContext();
    QByteArray digest(EVP_MAX_MD_SIZE, '\0');
    unsigned int size = 0;
    const bool done = copy && EVP_MD_CTX_copy_ex(copy.get(), context.get()) == 1
        && EVP_DigestFinal_ex(copy.get(), reinterpret_cast<unsigned char *>(digest.data()), &size)
            == 1;
    // Empty, it is nobody's sum.
    return done ? digest.first(size) : QByteArray();
}

} // namespace zel
