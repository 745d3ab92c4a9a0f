#include "folder/RemoteDocument.h"

#include "errors/Propagate.h"
#include "http/HttpDownload_p.h"

#include <QCoreApplication>

namespace zel {

namespace {

class MemorySink : public HttpSink
{
    Q_DECLARE_TR_FUNCTIONS(zel::RemoteDocument)

public:
    Result<qint64> open(const HttpRepresentation &state) override
    {
        if (state.size.value_or(0) > RemoteDocument::mostBytes)
            return ZEL_PASS(tooLarge());
        content.clear();
        return qint64(0);
    }

    Error startAnew() override
    {
        content.clear();
        return {};
    }

    Error write(const QByteArray &bytes) override
    {
        if (content.size() + bytes.size() > RemoteDocument::mostBytes)
            return ZEL_PASS(tooLarge());
        content += bytes;
        return {};
    }

    Error readBack(const std::function<bool(const char *data, qint64 size)> &take) override
    {
        return take(content.constData(), content.size()) ? Error() : Error(ErrorCode::Canceled);
    }

    QByteArray content;

private:
    static Error tooLarge()
    {
        return ZEL_ERROR(ErrorCode::BadData, tr("The listing of the folder is too large."));
    }
};

} // namespace

Result<QByteArray> RemoteDocument::fetch(const HttpTarget &target, const HttpSettings &settings,
                                         const HttpWatch &watch, HttpSession &session)
{
    Error error;
    MemorySink sink;
    ZEL_TRY(error, HttpDownload(target, settings, &sink, watch, session).run());
    return sink.content;
}

} // namespace zel
