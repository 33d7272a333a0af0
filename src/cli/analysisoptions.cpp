#include "cli/analysisoptions.h"

#include "naming/fieldcatalogue.h"

namespace Nomly {

AnalysisOptions::AnalysisOptions(QCommandLineParser &parser, Use use)
    : m_use(use)
    , m_title(QStringLiteral("title"),
              use == Use::Preview ? QStringLiteral("Title of the file. Default: Untitled.")
                                  : QStringLiteral("Title of the file (required)."),
              QStringLiteral("TEXT"))
    , m_type(QStringLiteral("type"), QStringLiteral("Type of the file, such as invoice."), QStringLiteral("TEXT"))
    , m_vendor(QStringLiteral("vendor"), QStringLiteral("Vendor, seller or issuer."), QStringLiteral("TEXT"))
    , m_amount(QStringLiteral("amount"), QStringLiteral("Total amount, such as 42.99."), QStringLiteral("TEXT"))
    , m_currency(QStringLiteral("currency"), QStringLiteral("Currency code, such as EUR."), QStringLiteral("CODE"))
    , m_field(QStringLiteral("field"),
              QStringLiteral("A detected field, such as invoice_number=INV-7 (repeatable)."),
              QStringLiteral("NAME=VALUE"))
    , m_now(QStringLiteral("now"),
            QStringLiteral("The moment of the render, ISO 8601 (2026-05-10T12:00:00Z). Default: now."),
            QStringLiteral("ISO8601"))
{
    parser.addOptions({ m_title, m_type, m_vendor, m_amount, m_currency, m_field });
    if (use == Use::Preview)
        parser.addOption(m_now);
}

std::optional<CliAnalysis> AnalysisOptions::read(const QCommandLineParser &parser, QString *error) const
{
    CliAnalysis analysis;
    if (m_use == Use::Rename && parser.value(m_title).trimmed().isEmpty()) {
        *error = QStringLiteral("--title is required and may not be empty");
        return std::nullopt;
    }
    analysis.title = parser.isSet(m_title) ? parser.value(m_title) : QStringLiteral("Untitled");
    analysis.type = parser.value(m_type);
    analysis.vendor = parser.value(m_vendor);
    analysis.amount = parser.value(m_amount);
    analysis.currency = parser.value(m_currency);

    const FieldCatalogue &catalogue = fieldCatalogue();
    for (const QString &assignment : parser.values(m_field)) {
        const qsizetype equals = assignment.indexOf(u'=');
        const QString name = normalizedFieldName(equals < 0 ? QStringView() : QStringView(assignment).first(equals));
        if (equals < 0 || name.isEmpty()) {
            *error = QStringLiteral("malformed --field '%1'; expected NAME=VALUE").arg(assignment);
            return std::nullopt;
        }
        // Aliases land under the field's own name: "receipt date" fills invoice_date.
        const QString fieldName = catalogue.nameForAlias(name);
        analysis.fields.insert(fieldName.isEmpty() ? name : fieldName, assignment.mid(equals + 1));
    }

    if (m_use == Use::Preview && parser.isSet(m_now)) {
        const QString text = parser.value(m_now).trimmed();
        analysis.now = QDateTime::fromString(text, Qt::ISODateWithMs);
        if (!analysis.now.isValid()) {
            *error = QStringLiteral("malformed --now '%1'; expected ISO 8601 such as 2026-05-10T12:00:00Z").arg(text);
            return std::nullopt;
        }
    } else {
        analysis.now = QDateTime::currentDateTime();
    }
    analysis.now = analysis.now.toLocalTime();
    return analysis;
}

} // namespace Nomly
