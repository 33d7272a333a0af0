#include "naming/textfacts.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringList>
#include <QUrl>
#include <QXmlStreamReader>
#include <array>
#include <utility>

#include "naming/dateformats.h"
#include "naming/mailencoding.h"

namespace Nomly::TextFacts {

namespace {

QString firstCapture(const QString &text, const QString &pattern)
{
    // The patterns are few and fixed: each is compiled once per thread rather
    // than for every file of a batch.
    thread_local QHash<QString, QRegularExpression> compiled;
    auto expression = compiled.constFind(pattern);
    if (expression == compiled.cend())
        expression = compiled.insert(pattern, QRegularExpression(pattern));
    const QRegularExpressionMatch match = expression->match(text);
    return match.hasMatch() ? match.captured(1).trimmed() : QString();
}

void put(Fields &fields, const QString &name, const QString &value)
{
    if (!value.trimmed().isEmpty())
        fields.insert(name, value.trimmed());
}

QString isoDate(const QString &text)
{
    const auto parsed = DateFormats::parseWide(text.trimmed());
    return parsed ? DateFormats::format(*parsed, QStringLiteral("yyyy-MM-dd")) : QString();
}

Fields packageJson(const QString &text)
{
    Fields fields;
    const QJsonObject json = QJsonDocument::fromJson(text.toUtf8()).object();
    if (json.isEmpty())
        return fields;
    const QString name = json.value(u"name").toString();
    put(fields, QStringLiteral("package_name"), name);
    put(fields, QStringLiteral("product_name"), json.value(u"productName").toString(name));
    put(fields, QStringLiteral("version"), json.value(u"version").toString());
    for (const char16_t *key : { u"releaseDate", u"date", u"publishedAt" }) {
        const QString date = isoDate(json.value(QStringView(key)).toString());
        if (!date.isEmpty()) {
            put(fields, QStringLiteral("release_date"), date);
            break;
        }
    }
    static constexpr std::array<std::pair<const char16_t *, const char16_t *>, 6> Frameworks { {
        { u"next", u"Next.js" },
        { u"react", u"React" },
        { u"vue", u"Vue" },
        { u"@angular/core", u"Angular" },
        { u"svelte", u"Svelte" },
        { u"express", u"Express" },
    } };
    const QJsonObject dependencies = json.value(u"dependencies").toObject();
    const QJsonObject peers = json.value(u"peerDependencies").toObject();
    for (const auto &[package, framework] : Frameworks) {
        const QString key = QString::fromUtf16(package);
        if (dependencies.contains(key) || peers.contains(key)) {
            put(fields, QStringLiteral("framework"), QString::fromUtf16(framework));
            break;
        }
    }
    return fields;
}

Fields namedManifest(const QString &name, const QString &version)
{
    Fields fields;
    put(fields, QStringLiteral("package_name"), name);
    put(fields, QStringLiteral("product_name"), name);
    put(fields, QStringLiteral("version"), version);
    return fields;
}

// The display name of an address, else the address in angle brackets, else
// the text as it stands.
QString person(const QString &header)
{
    const QString address = firstCapture(header, QStringLiteral("<([^>]+)>"));
    QString name = header.left(header.indexOf(u'<')).trimmed();
    if (name.startsWith(u'"') && name.endsWith(u'"') && name.size() >= 2)
        name = name.mid(1, name.size() - 2).trimmed();
    if (!name.isEmpty() && !address.isEmpty())
        return name;
    return address.isEmpty() ? header.trimmed() : address;
}

} // namespace

Fields codeProject(const QString &fileName, const QString &text)
{
    const QString lower = fileName.toLower();
    if (lower == u"package.json")
        return packageJson(text);
    if (fileName == u"Package.swift") {
        const QString name = firstCapture(text, QStringLiteral("Package\\s*\\(\\s*name:\\s*\"([^\"]+)\""));
        return namedManifest(name, QString());
    }
    if (lower == u"pyproject.toml" || lower == u"cargo.toml") {
        Fields fields = namedManifest(firstCapture(text, QStringLiteral("(?m)^\\s*name\\s*=\\s*\"([^\"]+)\"")),
                                      firstCapture(text, QStringLiteral("(?m)^\\s*version\\s*=\\s*\"([^\"]+)\"")));
        if (lower == u"pyproject.toml") {
            const QString dependencies = text.toLower();
            for (const auto &[package, framework] : { std::pair { u"fastapi", u"FastAPI" },
                                                      std::pair { u"django", u"Django" },
                                                      std::pair { u"flask", u"Flask" } }) {
                if (dependencies.contains(QStringView(package))) {
                    put(fields, QStringLiteral("framework"), QString::fromUtf16(framework));
                    break;
                }
            }
        }
        return fields;
    }
    if (lower.endsWith(u".gemspec")) {
        return namedManifest(firstCapture(text, QStringLiteral("\\.name\\s*=\\s*[\"']([^\"']+)[\"']")),
                             firstCapture(text, QStringLiteral("\\.version\\s*=\\s*[\"']([^\"']+)[\"']")));
    }
    return {};
}

Fields sourceCode(const QString &text)
{
    Fields fields;
    for (const char16_t *module : { u"SwiftUI", u"UIKit", u"AppKit", u"Foundation" }) {
        const QString name = QString::fromUtf16(module);
        if (QRegularExpression(QStringLiteral("(?m)^\\s*import\\s+%1\\b").arg(name)).match(text).hasMatch()) {
            put(fields, QStringLiteral("framework"), name);
            return fields;
        }
    }
    static constexpr std::array<std::pair<const char16_t *, const char16_t *>, 5> Imports { {
        { u"next", u"Next.js" },
        { u"react", u"React" },
        { u"vue", u"Vue" },
        { u"@angular", u"Angular" },
        { u"svelte", u"Svelte" },
    } };
    for (const auto &[package, framework] : Imports) {
        const QString quoted = QRegularExpression::escape(QString::fromUtf16(package));
        const QRegularExpression importing(
            QStringLiteral("(?m)(from\\s+|import\\s+|require\\()\\s*['\"]%1(/[^'\"]*)?['\"]").arg(quoted));
        if (importing.match(text).hasMatch()) {
            put(fields, QStringLiteral("framework"), QString::fromUtf16(framework));
            return fields;
        }
    }
    if (text.contains(u"express("))
        put(fields, QStringLiteral("framework"), QStringLiteral("Express"));
    return fields;
}

Fields mailHeaders(const QString &text)
{
    // The header block ends at the first blank line, with either line ending;
    // a file of headers alone is all header block.
    QString unified = text;
    unified.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    unified.replace(u'\r', u'\n');
    const qsizetype blankLine = unified.indexOf(QStringLiteral("\n\n"));
    const MailEncoding::HeaderMap headers
        = MailEncoding::parsedHeaders(blankLine < 0 ? QStringView(unified) : QStringView(unified).left(blankLine));
    const auto header = [&headers](const char16_t *name) {
        return MailEncoding::decodedHeaderWords(headers.value(QString::fromUtf16(name)));
    };
    Fields fields;
    put(fields, QStringLiteral("sender"), person(header(u"from")));
    put(fields, QStringLiteral("recipient"), person(header(u"to")));
    const QString subject = header(u"subject");
    put(fields, QStringLiteral("message_subject"), subject);
    QString thread = subject;
    static const QRegularExpression reply(QStringLiteral("^(?i)(re|fw|fwd):\\s*"));
    while (reply.match(thread).hasMatch())
        thread = thread.remove(reply).trimmed();
    put(fields, QStringLiteral("thread_name"), thread);
    // Mailers often add the zone's name as a comment: "+0000 (UTC)".
    static const QRegularExpression comment(QStringLiteral("\\s*\\([^()]*\\)\\s*$"));
    const QString date = headers.value(QStringLiteral("date")).remove(comment);
    for (const char16_t *pattern : { u"EEE, d MMM yyyy HH:mm:ss Z",
                                     u"EEE, dd MMM yyyy HH:mm:ss Z",
                                     u"d MMM yyyy HH:mm:ss Z",
                                     u"dd MMM yyyy HH:mm:ss Z",
                                     u"yyyy-MM-dd'T'HH:mm:ssZ" }) {
        if (const auto parsed = DateFormats::parse(date, QString::fromUtf16(pattern))) {
            put(fields, QStringLiteral("message_date"), DateFormats::format(*parsed, QStringLiteral("yyyy-MM-dd")));
            break;
        }
    }
    return fields;
}

Fields bundlePlist(const QString &xmlText)
{
    // The top dictionary's keys and their first usable value: a string
    // trimmed, a number as written, the first string of an array.
    QHash<QString, QString> values;
    QXmlStreamReader reader(xmlText);
    if (!reader.readNextStartElement() || reader.name() != u"plist" || !reader.readNextStartElement()
        || reader.name() != u"dict")
        return {};
    const auto isScalar = [](QStringView name) {
        return name == u"string" || name == u"integer" || name == u"real" || name == u"date";
    };
    QString key;
    while (reader.readNextStartElement()) {
        const QString name = reader.name().toString();
        if (name == u"key") {
            key = reader.readElementText().trimmed();
            continue;
        }
        QString value;
        if (isScalar(name)) {
            value = reader.readElementText().trimmed();
        } else if (name == u"array") {
            while (reader.readNextStartElement()) {
                if (value.isEmpty() && isScalar(reader.name()))
                    value = reader.readElementText().trimmed();
                else
                    reader.skipCurrentElement();
            }
        } else {
            reader.skipCurrentElement();
        }
        if (!key.isEmpty() && !value.isEmpty() && !values.contains(key))
            values.insert(key, value);
        key.clear();
    }
    const auto first = [&values](std::initializer_list<const char16_t *> keys) {
        for (const char16_t *name : keys) {
            const QString value = values.value(QString::fromUtf16(name));
            if (!value.isEmpty())
                return value;
        }
        return QString();
    };
    Fields fields;
    put(fields,
        QStringLiteral("product_name"),
        first({ u"CFBundleDisplayName", u"CFBundleName", u"CFBundleExecutable" }));
    put(fields, QStringLiteral("package_name"), first({ u"CFBundleIdentifier" }));
    put(fields, QStringLiteral("version"), first({ u"CFBundleShortVersionString" }));
    put(fields, QStringLiteral("build_number"), first({ u"CFBundleVersion" }));
    put(fields, QStringLiteral("release_date"), isoDate(first({ u"ReleaseDate", u"SUReleaseDate" })));
    return fields;
}

QString sourceOfOrigin(const QString &origin)
{
    const QString text = origin.trimmed();
    const QUrl url(text);
    return url.isValid() && !url.host().isEmpty() ? url.host() : text;
}

Fields design(const QString &svgText)
{
    Fields fields;
    QString artboard = firstCapture(svgText, QStringLiteral("<title>\\s*([^<]+?)\\s*</title>"));
    if (artboard.isEmpty())
        artboard = firstCapture(svgText, QStringLiteral("\\bdata-name\\s*=\\s*\"([^\"]+)\""));
    if (artboard.isEmpty())
        artboard = firstCapture(svgText, QStringLiteral("<svg[^>]*\\bid\\s*=\\s*\"([^\"]+)\""));
    put(fields, QStringLiteral("artboard"), artboard);
    put(fields,
        QStringLiteral("component_name"),
        firstCapture(svgText, QStringLiteral("\\bcomponent-name\\s*=\\s*\"([^\"]+)\"")));
    return fields;
}

QString exportScale(const QString &stem)
{
    const QString scale = firstCapture(stem, QStringLiteral("@([1-9](?:\\.\\d+)?)x(?:$|[^A-Za-z0-9])"));
    return scale.isEmpty() ? QString() : scale + u'x';
}

QString currencyOfAmount(const QString &amount)
{
    const QString upper = amount.toUpper();
    static constexpr std::array<std::pair<const char16_t *, const char16_t *>, 5> Signs { {
        { u"USD", u"$" },
        { u"EUR", u"€" },
        { u"GBP", u"£" },
        { u"JPY", u"¥" },
        { u"RUB", u"₽" },
    } };
    for (const auto &[code, sign] : Signs) {
        if (upper.contains(QStringView(code)) || upper.contains(QStringView(sign)))
            return QString::fromUtf16(code);
    }
    static const QRegularExpression threeLetters(QStringLiteral("(?<![A-Z])[A-Z]{3}(?![A-Z])"));
    return threeLetters.match(upper).captured(0);
}

} // namespace Nomly::TextFacts
