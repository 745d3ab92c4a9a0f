#pragma once

#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace zel::test {

/// Collects what is logged, on whatever thread, while it lives; one at a time.
class LogCapture
{
public:
    LogCapture()
        : before(qInstallMessageHandler(collect))
    {
        const QMutexLocker lock(&mutex);
        messages.clear();
    }
    ~LogCapture() { qInstallMessageHandler(before); }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    /// The texts of this level and category, in order.
    QStringList texts(QtMsgType type, const QByteArray &category = "zel.resource_manager") const
    {
        const QMutexLocker lock(&mutex);
        QStringList found;
        for (const Message &message : messages) {
            if (message.type == type && message.category == category)
                found.append(message.text);
        }
        return found;
    }

    /// Whether a text of this level has this in it.
    bool contains(QtMsgType type, const QString &part) const
    {
        return !texts(type).filter(part).isEmpty();
    }

private:
    struct Message
    {
        QtMsgType type;
        QByteArray category;
        QString text;
    };

    static void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        const QMutexLocker lock(&mutex);
        messages.append({ type, QByteArray(context.category), text });
    }

    inline static QMutex mutex;
    inline static QList<Message> messages;
    QtMessageHandler before;
};

} // namespace zel::test
