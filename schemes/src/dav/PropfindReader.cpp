#include "dav/PropfindReader.h"

#include "errors/Propagate.h"
#include "http/HttpFailure.h"

#include <algorithm>
#include <array>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QStringView davNamespace = u"DAV:";
/// An answer needs 6; unknown properties may bring some of their own.
constexpr size_t mostLevels = 32;
/// Between two marks of an honest answer there are an address or a few words. Bounds what the
/// parser does at one go, which is more than proportional for the attributes of one element.
constexpr qint64 mostBytesOfToken = 16 * 1024;
constexpr qsizetype mostAttributes = 32;
constexpr qsizetype longestText = 8 * 1024;
/// So small that a mark which is too long is seen before it is read as a whole.
constexpr qint64 pieceSize = 4 * 1024;

/// "HTTP/1.1 200 OK": the first line of HTTP/1.1's messages.
bool isSuccess(const QString &statusLine)
{
    const QString code = statusLine.simplified().section(u' ', 1, 1);
    return code.size() == 3 && code.startsWith(u'2');
}

std::optional<qint64> sizeIn(const QString &text)
{
    bool isNumber = false;
    const qint64 size = text.trimmed().toLongLong(&isNumber);
    return isNumber && size >= 0 ? std::optional(size) : std::nullopt;
}

/// Empty for what no header could carry.
QByteArray headerValue(const QString &text)
{
    const QByteArray value = text.trimmed().toUtf8();
    const bool isPlain = std::none_of(value.begin(), value.end(), [](char byte) {
        return static_cast<unsigned char>(byte) < ' ' || byte == 0x7F;
    });
    return isPlain && value.size() <= 1024 ? value : QByteArray();
}

} // namespace

bool PropfindReader::add(const char *data, qint64 size)
{
    for (qint64 done = 0; done < size && !wrong.hasError(); done += pieceSize) {
        const qint64 count = std::min(pieceSize, size - done);
        xml.addData(QByteArray(data + done, count));
        bytesSinceToken += count;
        readTokens();
        if (bytesSinceToken > mostBytesOfToken)
            fail(tr("a single part of it is too long"));
    }
    return !wrong.hasError();
}

Error PropfindReader::finish()
{
    if (!wrong.hasError() && !isWhole)
        fail(tr("it is not whole"));
    return ZEL_PASS(wrong);
}

void PropfindReader::readTokens()
{
    while (!wrong.hasError() && !isWhole) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (xml.error() == QXmlStreamReader::PrematureEndOfDocumentError)
            return; // more may come
        if (xml.hasError())
            return fail(HttpFailure::oneLine(xml.errorString().toUtf8(), {}));
        bytesSinceToken = 0;
        take(token);
    }
}

void PropfindReader::take(QXmlStreamReader::TokenType token)
{
    switch (token) {
    case QXmlStreamReader::DTD:
    case QXmlStreamReader::EntityReference:
        return fail(tr("it has a document type, which is not read"));
    case QXmlStreamReader::StartElement:
        return startElement();
    case QXmlStreamReader::EndElement:
        return endElement();
    case QXmlStreamReader::Characters:
        return addText();
    default:
        return;
    }
}

PropfindReader::Element PropfindReader::known(Element parent, QStringView name)
{
    struct Place
    {
        Element parent;
        QStringView name;
        Element element;
    };
    static constexpr std::array places {
        Place { Element::Document, u"multistatus", Element::Multistatus },
        Place { Element::Multistatus, u"response", Element::Response },
        Place { Element::Response, u"href", Element::Href },
        Place { Element::Response, u"status", Element::ResponseStatus },
        Place { Element::Response, u"propstat", Element::Propstat },
        Place { Element::Propstat, u"status", Element::PropstatStatus },
        Place { Element::Propstat, u"prop", Element::Prop },
        Place { Element::Prop, u"resourcetype", Element::ResourceType },
        Place { Element::ResourceType, u"collection", Element::Collection },
        Place { Element::Prop, u"getcontentlength", Element::ContentLength },
        Place { Element::Prop, u"getetag", Element::ETag },
        Place { Element::Prop, u"getlastmodified", Element::LastModified },
    };
    const auto place = std::find_if(places.begin(), places.end(), [&](const Place &candidate) {
        return candidate.parent == parent && candidate.name == name;
    });
    return place == places.end() ? Element::Unknown : place->element;
}

void PropfindReader::startElement()
{
    if (path.size() > mostLevels)
        return fail(tr("it is nested too deeply"));
    // Each look for the meaning of a prefix passes all that are declared.
    if (xml.attributes().size() + xml.namespaceDeclarations().size() > mostAttributes)
        return fail(tr("a part of it has too many attributes"));
    const bool isOurs = xml.namespaceUri() == davNamespace;
    const Element element = isOurs ? known(path.back(), xml.name()) : Element::Unknown;
    if (path.size() == 1 && element != Element::Multistatus)
        return fail(tr("it is no multistatus"));
    path.push_back(element);
    text.clear();
    if (element == Element::Propstat) {
        offered = {};
        offeredStatus.clear();
    }
}

void PropfindReader::endElement()
{
    const Element element = path.back();
    path.pop_back();
    switch (element) {
    case Element::Href:
        addHref();
        break;
    case Element::ResponseStatus:
        status = text.simplified();
        break;
    case Element::PropstatStatus:
        offeredStatus = text;
        break;
    case Element::Collection:
        offered.isCollection = true;
        break;
    case Element::ContentLength:
        offered.size = sizeIn(text);
        break;
    case Element::ETag:
        offered.etag = headerValue(text);
        break;
    case Element::LastModified:
        offered.lastModified = headerValue(text);
        break;
    case Element::Propstat:
        endPropstat();
        break;
    case Element::Response:
        endResponse();
        break;
    case Element::Multistatus:
        isWhole = true;
        break;
    default:
        break;
    }
    text.clear();
}

void PropfindReader::addHref()
{
    if (all.size() + size_t(hrefs.size()) == mostResources)
        return fail(tr("it tells of more than %1 resources").arg(mostResources));
    hrefs << text.trimmed();
}

void PropfindReader::endPropstat()
{
    if (!isSuccess(offeredStatus))
        return;
    found.isCollection |= offered.isCollection;
    if (offered.size)
        found.size = offered.size;
    if (!offered.etag.isEmpty())
        found.etag = offered.etag;
    if (!offered.lastModified.isEmpty())
        found.lastModified = offered.lastModified;
}

void PropfindReader::endResponse()
{
    if (hrefs.isEmpty() || hrefs.contains(QString()))
        return fail(tr("it tells of something without an address"));
    if (!status.isEmpty() && !isSuccess(status))
        found.refusal = status;
    for (const QString &href : std::as_const(hrefs)) {
        found.href = href;
        all.push_back(found);
    }
    found = {};
    hrefs.clear();
    status.clear();
}

bool PropfindReader::isValue() const
{
    switch (path.back()) {
    case Element::Href:
    case Element::ResponseStatus:
    case Element::PropstatStatus:
    case Element::ContentLength:
    case Element::ETag:
    case Element::LastModified:
        return true;
    default:
        return false;
    }
}

void PropfindReader::addText()
{
    if (!isValue())
        return;
    text += xml.text();
    if (text.size() > longestText)
        fail(tr("a single part of it is too long"));
}

void PropfindReader::fail(const QString &reason)
{
    wrong = ZEL_ERROR(ErrorCode::BadData, tr("the server's list cannot be read: %1").arg(reason));
}

} // namespace zel
