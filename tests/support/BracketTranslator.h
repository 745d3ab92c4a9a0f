#pragma once

#include <QCoreApplication>
#include <QTranslator>

namespace zel::test {

/// A loaded translation that puts every text between brackets, behind its context.
class BracketTranslator : public QTranslator
{
public:
    BracketTranslator() { QCoreApplication::installTranslator(this); }
    ~BracketTranslator() override { QCoreApplication::removeTranslator(this); }
    BracketTranslator(const BracketTranslator &) = delete;
    BracketTranslator &operator=(const BracketTranslator &) = delete;

    QString translate(const char *context, const char *text, const char *, int) const override
    {
        return QString::fromUtf8(context) + u'<' + QString::fromUtf8(text) + u'>';
    }
    bool isEmpty() const override { return false; }
};

} // namespace zel::test
