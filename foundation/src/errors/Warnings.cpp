#include "errors/Warnings.h"

namespace zel {

Warnings::~Warnings() = default;

void Warnings::addWarningInternal(const QString &text)
{
    texts.append(text);
}

void Warnings::addWarningsInternal(const QList<QString> &moreTexts)
{
    texts.append(moreTexts);
}

void Warnings::clearWarningsInternal()
{
    texts.clear();
}

void Warnings::resetWarningInternal(const QString &text)
{
    texts = { text };
}

void Warnings::resetWarningsInternal(const QList<QString> &newTexts)
{
    texts = newTexts;
}

} // namespace zel
