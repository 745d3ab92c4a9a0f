#include "Catalogue.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QXmlStreamReader>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList readTranslations(QXmlStreamReader &xml)
{
    QString whole;
    QStringList forms;
    while (!xml.atEnd() && xml.readNext() != QXmlStreamReader::EndElement) {
        if (xml.isStartElement())
            forms << xml.readElementText();
        else
            whole += xml.text();
    }
    return forms.isEmpty() ? QStringList { whole } : forms;
}

Message readMessage(QXmlStreamReader &xml, const QString &context)
{
    Message message;
    message.context = context;
    while (xml.readNextStartElement()) {
        if (xml.name() == u"source"_s) {
            message.source = xml.readElementText();
        } else if (xml.name() == u"translation"_s) {
            message.type = xml.attributes().value(u"type"_s).toString();
            message.translations = readTranslations(xml);
        } else {
            if (xml.name() == u"location"_s) {
                message.places << xml.attributes().value(u"filename"_s).toString() + u':'
                        + xml.attributes().value(u"line"_s).toString();
            }
            xml.skipCurrentElement();
        }
    }
    return message;
}

QList<Message> readContext(QXmlStreamReader &xml)
{
    QList<Message> messages;
    QString name;
    while (xml.readNextStartElement()) {
        if (xml.name() == u"name"_s)
            name = xml.readElementText();
        else
            messages << readMessage(xml, name);
    }
    return messages;
}

} // namespace

QList<Message> readCatalogue(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    QXmlStreamReader xml(&file);
    EXPECT_TRUE(xml.readNextStartElement() && xml.name() == u"TS"_s) << qPrintable(path);
    QList<Message> messages;
    while (xml.readNextStartElement())
        messages << readContext(xml);
    EXPECT_FALSE(xml.hasError()) << qPrintable(path + u": "_s + xml.errorString());
    return messages;
}

QStringList cataloguePaths()
{
    QStringList paths;
    const QDir folder(QStringLiteral(ZEL_SOURCE_TREE "/translations"));
    for (const QFileInfo &file : folder.entryInfoList({ u"*.ts"_s }, QDir::Files, QDir::Name))
        paths << file.filePath();
    return paths;
}

} // namespace zel::test
