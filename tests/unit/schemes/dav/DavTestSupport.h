#pragma once

#include "ScriptedServer.h"

#include <QByteArray>

namespace zel::test {

/// Answers to PROPFIND, as a script wants them.
namespace DavAnswers {

inline QByteArray folder(const QByteArray &href)
{
    return "<D:response><D:href>" + href
        + "</D:href><D:propstat><D:prop><D:resourcetype><D:collection/></D:resourcetype></D:prop>"
          "<D:status>HTTP/1.1 200 OK</D:status></D:propstat></D:response>";
}

inline QByteArray file(const QByteArray &href, qint64 size, const QByteArray &etag = {},
                       const QByteArray &lastModified = {})
{
    return "<D:response><D:href>" + href
        + "</D:href><D:propstat><D:prop><D:resourcetype/><D:getcontentlength>"
        + QByteArray::number(size) + "</D:getcontentlength><D:getetag>" + etag
        + "</D:getetag><D:getlastmodified>" + lastModified
        + "</D:getlastmodified></D:prop><D:status>HTTP/1.1 200 "
          "OK</D:status></D:propstat></D:response>";
}

inline QByteArray whole(const QByteArray &responses)
{
    return ScriptedServer::answer("207 Multi-Status", "Content-Type: text/xml\r\n",
                                  "<?xml version=\"1.0\"?><D:multistatus xmlns:D=\"DAV:\">"
                                      + responses + "</D:multistatus>");
}

} // namespace DavAnswers

} // namespace zel::test
