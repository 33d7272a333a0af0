#include "content/xmltextcollector.h"

#include <QXmlStreamReader>

#include "content/contenttext.h"

namespace Nomly {

QString localNameOf(const QXmlStreamReader &reader)
{
    const QStringView qualified = reader.qualifiedName();
    const QStringView name = qualified.isEmpty() ? reader.name() : qualified;
    return name.mid(name.lastIndexOf(u':') + 1).toString();
}

QStringList XMLTextCollector::collect(const QByteArray &xml, const QSet<QString> &localNames)
{
    XMLTextCollector collector;
    collector.localNames = localNames;
    collector.parse(xml, true);
    if (collector.chunks.isEmpty()) {
        collector = XMLTextCollector();
        collector.localNames = localNames;
        collector.parse(xml, false);
    }
    return collector.chunks;
}

void XMLTextCollector::parse(const QByteArray &xml, bool namespaceProcessing)
{
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(namespaceProcessing);
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            if (captureDepth > 0) {
                ++captureDepth;
            } else if (localNames.contains(localNameOf(reader))) {
                captureDepth = 1;
                currentText.clear();
            }
            break;
        case QXmlStreamReader::Characters:
            if (captureDepth > 0)
                currentText += reader.text();
            break;
        case QXmlStreamReader::EndElement:
            if (captureDepth > 0 && --captureDepth == 0) {
                const QString chunk = normalizedText(currentText);
                currentText.clear();
                if (!chunk.isEmpty()) {
                    chunks.append(chunk);
                    collectedCharacters += chunk.size();
                    if (collectedCharacters >= maxCharacters)
                        return;
                }
            }
            break;
        default:
            break;
        }
    }
}

} // namespace Nomly
