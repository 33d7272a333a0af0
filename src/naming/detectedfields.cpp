#include "naming/detectedfields.h"

#include <QRegularExpression>
#include <initializer_list>

#include "naming/fieldcatalogue.h"
#include "naming/textfacts.h"

namespace Nomly::DetectedFields {

namespace {

// Literal "\uXXXX" escapes as a model or a JSON file may leave them; the two
// halves of a surrogate pair come out as the one character they form.
QString decodedEscapes(const QString &text)
{
    static const QRegularExpression escape(QStringLiteral("\\\\u([0-9a-fA-F]{4})"));
    QString out;
    qsizetype last = 0;
    auto it = escape.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        out += QStringView(text).mid(last, match.capturedStart() - last);
        out += QChar(char16_t(match.captured(1).toUShort(nullptr, 16)));
        last = match.capturedEnd();
    }
    out += QStringView(text).mid(last);
    return out;
}

// One entry under its field's name; a later entry for the same field
// overwrites an earlier one.
void insertNormalized(Fields &into, const QString &key, const QString &value)
{
    const QString normalized = normalizedFieldName(key);
    const QString alias = fieldCatalogue().nameForAlias(normalized);
    const QString name = alias.isEmpty() ? normalized : alias;
    const QString text = decodedEscapes(value).normalized(QString::NormalizationForm_C).trimmed();
    if (!name.isEmpty() && !text.isEmpty())
        into.insert(name, text);
}

QString firstNonEmpty(std::initializer_list<QString> values)
{
    for (const QString &value : values) {
        if (!value.isEmpty())
            return value;
    }
    return {};
}

} // namespace

Fields normalized(const Fields &fields)
{
    Fields out;
    for (auto it = fields.cbegin(); it != fields.cend(); ++it)
        insertNormalized(out, it.key(), it.value());
    return out;
}

PatternRenderInput withAnalysis(PatternRenderInput input, const QMap<QString, QString> &fields)
{
    Fields &detected = input.metadata.detectedFields;
    for (auto it = fields.cbegin(); it != fields.cend(); ++it)
        insertNormalized(detected, it.key(), it.value());
    if (!detected.contains(QStringLiteral("type")))
        insertNormalized(detected, QStringLiteral("type"), input.type);
    // "vendor_name" is the vendor's alias, so the one key holds both.
    insertNormalized(detected, QStringLiteral("vendor"), input.vendor);
    insertNormalized(detected, QStringLiteral("amount"), input.amount);
    insertNormalized(detected, QStringLiteral("total_amount"), input.amount);
    if (!detected.contains(QStringLiteral("currency"))) {
        insertNormalized(detected,
                         QStringLiteral("currency"),
                         firstNonEmpty({ TextFacts::currencyOfAmount(detected.value(QStringLiteral("total_amount"))),
                                         TextFacts::currencyOfAmount(detected.value(QStringLiteral("amount"))) }));
    }
    // The analysis' own vendor and amount went in over the detected ones.
    input.vendor = detected.value(QStringLiteral("vendor"));
    input.amount
        = firstNonEmpty({ detected.value(QStringLiteral("total_amount")), detected.value(QStringLiteral("amount")) });
    input.currency = detected.value(QStringLiteral("currency"));
    return input;
}

} // namespace Nomly::DetectedFields
