#pragma once

#include "errors/Error.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QString>
#include <QXmlStreamReader>

#include <optional>
#include <vector>

namespace zel {

/// What a server tells of one resource in its answer to PROPFIND.
struct DavProperties
{
    QString href; ///< as the server wrote it: nothing about it has been checked
    QString refusal; ///< "HTTP/1.1 403 Forbidden" if it tells nothing of the resource; or empty
    bool isCollection = false;
    std::optional<qint64> size; ///< bytes
    QByteArray etag; ///< with its quotes
    QByteArray lastModified; ///< as the server wrote it

    bool isRefused() const { return !refusal.isEmpty(); }
};

/// Reads the body of an answer to PROPFIND, the "multistatus" of RFC 4918, sections 13 and 14,
/// piece by piece as it comes.
///
/// Elements are told by their namespace, whatever their prefix; what is not known is skipped, as
/// section 17 asks for. Of several "propstat" of one resource only those count that succeeded. A
/// server is not trusted: a document type, and so every entity of its own, is refused, and so is
/// what is too deep, too wide or too much to be the list of a folder.
class PropfindReader
{
    Q_DECLARE_TR_FUNCTIONS(zel::PropfindReader)

public:
    /// More in one folder are refused.
    static constexpr size_t mostResources = 250'000;

    /// False ends it: what came is no such answer, as failure() tells.
    bool add(const char *data, qint64 size);
    /// Call it after the last piece. Code 4 if what came is not whole.
    Error finish();
    /// Code 4, or success as long as nothing is wrong.
    const Error &failure() const { return wrong; }

    const std::vector<DavProperties> &resources() const { return all; }

private:
    enum class Element {
        Document,
        Unknown,
        Multistatus,
        Response,
        Href,
        ResponseStatus,
        Propstat,
        PropstatStatus,
        Prop,
        ResourceType,
        Collection,
        ContentLength,
        ETag,
        LastModified,
    };

    static Element known(Element parent, QStringView name);
    void readTokens();
    void take(QXmlStreamReader::TokenType token);
    void startElement();
    void endElement();
    void addHref();
    void endPropstat();
    void endResponse();
    bool isValue() const;
    void addText();
    void fail(const QString &reason);

    QXmlStreamReader xml;
    std::vector<Element> path { Element::Document };
    qint64 bytesSinceToken = 0;
    QString text; ///< of the value that is being read

    QStringList hrefs; ///< of the response that is being read
    QString status;
    DavProperties found;
    DavProperties offered; ///< by the propstat that is being read
    QString offeredStatus;

    bool isWhole = false;
    std::vector<DavProperties> all;
    Error wrong;
};

} // namespace zel
