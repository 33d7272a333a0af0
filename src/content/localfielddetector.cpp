#include "content/localfielddetector.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <array>
#include <functional>
#include <utility>

#include "content/textlanguage.h"
#include "naming/dateformats.h"

namespace Nomly {

namespace {

using Fields = QHash<QString, QString>;

const QString Currencies = QStringLiteral("USD|EUR|GBP|JPY|AUD|CAD|CHF|CNY|HKD|SGD|THB");

QRegularExpression caseless(const QString &pattern)
{
    return QRegularExpression(pattern, QRegularExpression::CaseInsensitiveOption);
}

const QList<QRegularExpression> &datePatterns()
{
    static const QList<QRegularExpression> patterns {
        caseless(QStringLiteral("\\b\\d{4}[-/.]\\d{1,2}[-/.]\\d{1,2}\\b")),
        caseless(QStringLiteral("\\b\\d{1,2}[-/.]\\d{1,2}[-/.]\\d{2,4}\\b")),
        caseless(QStringLiteral("\\b\\d{1,2}\\s+[A-Za-z]{3,9}\\.?,?\\s+\\d{2,4}\\b")),
        caseless(QStringLiteral("\\b[A-Za-z]{3,9}\\.?\\s+\\d{1,2},?\\s+\\d{2,4}\\b")),
    };
    return patterns;
}

const QRegularExpression &amountPattern()
{
    static const QRegularExpression pattern = caseless(
        QStringLiteral("(?:(%1)\\s*)?([$€£¥฿])?\\s*([0-9][0-9,]*(?:\\.[0-9]{1,2})?)\\s*(%1)?").arg(Currencies));
    return pattern;
}

QString firstCapture(const QString &text, const QString &pattern)
{
    return caseless(pattern).match(text).captured(1);
}

// The first date of a line, by the order of the date patterns, normalised.
std::optional<QString> firstDate(const QString &line)
{
    for (const QRegularExpression &pattern : datePatterns()) {
        auto it = pattern.globalMatch(line);
        while (it.hasNext()) {
            if (const auto date = LocalFieldDetector::normalizedDate(it.next().captured(0)))
                return date;
        }
    }
    return std::nullopt;
}

struct Amount
{
    QString number;
    QString currency;
};

// The first amount of a line that has a number in it.
std::optional<Amount> firstAmount(const QString &line)
{
    static const QHash<QString, QString> Symbols { { QStringLiteral("$"), QStringLiteral("USD") },
                                                   { QStringLiteral("€"), QStringLiteral("EUR") },
                                                   { QStringLiteral("£"), QStringLiteral("GBP") },
                                                   { QStringLiteral("¥"), QStringLiteral("JPY") },
                                                   { QStringLiteral("฿"), QStringLiteral("THB") } };
    auto it = amountPattern().globalMatch(line);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        if (match.captured(3).isEmpty())
            continue;
        QString currency = (match.captured(1).isEmpty() ? match.captured(4) : match.captured(1)).toUpper();
        if (currency.isEmpty())
            currency = Symbols.value(match.captured(2));
        return Amount { match.captured(3), currency };
    }
    return std::nullopt;
}

bool containsAny(const QString &lowered, std::initializer_list<const char16_t *> words)
{
    return std::any_of(
        words.begin(), words.end(), [&lowered](const char16_t *word) { return lowered.contains(QStringView(word)); });
}

// The value behind one of the labels on a line of its own.
std::optional<QString> labelledValue(const QStringList &lines, const QStringList &labels)
{
    static const QStringList Empty { QStringLiteral("not available"), QStringLiteral("n/a"),
                                     QStringLiteral("none"),          QStringLiteral("unknown"),
                                     QStringLiteral("pending"),       QStringLiteral("view details"),
                                     QStringLiteral("manage order"),  QStringLiteral("manage booking"),
                                     QStringLiteral("click here") };
    for (const QString &line : lines) {
        for (const QString &label : labels) {
            const QString captured = caseless(QStringLiteral("^\\s*(?:%1)\\s*(?:is|:|#|-|–)\\s*(.{2,120})$").arg(label))
                                         .match(line)
                                         .captured(1);
            const auto value = LocalFieldDetector::cleanValue(captured);
            if (value && !Empty.contains(value->toLower()))
                return value;
        }
    }
    return std::nullopt;
}

// The first date on a line that one of the labels opens.
std::optional<QString> labelledDate(const QStringList &lines, const QStringList &labels)
{
    for (const QString &line : lines) {
        for (const QString &label : labels) {
            if (caseless(QStringLiteral("^\\s*(?:%1)\\b").arg(label)).match(line).hasMatch()) {
                if (const auto date = firstDate(line))
                    return date;
            }
        }
    }
    return std::nullopt;
}

// Adds values, never over one already known.
class Collector
{
public:
    explicit Collector(const Fields &existing)
        : m_existing(existing)
    {}

    bool has(const QString &key) const { return !value(key).isEmpty(); }

    QString value(const QString &key) const { return m_added.value(key, m_existing.value(key)); }

    void put(const QString &key, const std::optional<QString> &value)
    {
        if (!value || has(key))
            return;
        if (const auto clean = LocalFieldDetector::cleanValue(*value))
            m_added.insert(key, *clean);
    }

    // The first match whose value is a code: the labels match without case,
    // but a value is written in the capitals and figures its pattern names,
    // so "Invoice summary" and "the invoice attached" hold no number. A
    // label word in capitals is no value either: "INVOICE\nINVOICE NO: 1042"
    // would otherwise give "INVOICE". Matches may overlap, so each start is
    // tried.
    void putCapture(const QString &key, const QString &text, std::initializer_list<const char16_t *> patterns)
    {
        static const QStringList LabelWords {
            QStringLiteral("invoice"), QStringLiteral("bill"),        QStringLiteral("number"),
            QStringLiteral("order"),   QStringLiteral("tracking"),    QStringLiteral("reference"),
            QStringLiteral("booking"), QStringLiteral("reservation"), QStringLiteral("confirmation"),
            QStringLiteral("date"),    QStringLiteral("details"),     QStringLiteral("receipt"),
            QStringLiteral("case"),    QStringLiteral("claim"),       QStringLiteral("patient")
        };
        for (const char16_t *pattern : patterns) {
            const QRegularExpression expression = caseless(QString::fromUtf16(pattern));
            for (qsizetype offset = 0; offset < text.size();) {
                const QRegularExpressionMatch match = expression.match(text, offset);
                if (!match.hasMatch())
                    break;
                const QString captured = match.captured(1);
                const bool lowercase
                    = std::any_of(captured.cbegin(), captured.cend(), [](QChar c) { return c.isLower(); });
                if (!lowercase && !LabelWords.contains(captured.toLower())) {
                    put(key, captured);
                    return;
                }
                offset = match.capturedStart() + 1;
            }
        }
    }

    const Fields &added() const { return m_added; }

private:
    const Fields &m_existing;
    Fields m_added;
};

struct LabelRule
{
    const char16_t *key;
    QStringList labels;
    bool isDate = false;
};

void applyLabels(Collector &out, const QStringList &lines, const QList<LabelRule> &rules)
{
    for (const LabelRule &rule : rules)
        out.put(QString::fromUtf16(rule.key),
                rule.isDate ? labelledDate(lines, rule.labels) : labelledValue(lines, rule.labels));
}

void invoiceGroup(Collector &out, const QString &text, const QString &lowered, const QStringList &lines)
{
    if (lowered.contains(u"invoice") || lowered.contains(u"bill"))
        out.putCapture(
            QStringLiteral("invoice_number"),
            text,
            { u"\\b(?:invoice|bill)(?:\\s*(?:number|no\\.?|#))?\\s*[:#-]?\\s*([A-Z0-9][A-Z0-9._/-]{2,})\\b" });
    out.putCapture(QStringLiteral("reference_number"),
                   text,
                   { u"\\b(?:customer\\s*ref\\.?|reference|ref\\.?|transaction|confirmation)\\s*(?:number|no\\.?|#|id)?"
                     u"\\s*[:#.-]?\\s*([A-Z0-9][A-Z0-9._/-]{2,})\\b" });
    out.putCapture(QStringLiteral("po_number"),
                   text,
                   { u"\\b(?:po|p\\.o\\.|purchase\\s*order)\\s*(?:number|no\\.?|#)?\\s*[:#.-]?\\s*([A-Z0-9][A-Z0-9._/"
                     u"-]{2,})\\b" });
    for (const QString &line : lines) {
        const QString low = line.toLower();
        const bool paymentLine = (low.contains(u"payment") || low.contains(u"paid")) && low.contains(u"date");
        if (containsAny(low, { u"due date", u"payment due", u"due:" }))
            out.put(QStringLiteral("due_date"), firstDate(line));
        if (paymentLine)
            out.put(QStringLiteral("payment_date"), firstDate(line));
        if (!paymentLine && containsAny(low, { u"date:", u"invoice date", u"issue date", u"issued date" })
            && !low.contains(u"due"))
            out.put(QStringLiteral("invoice_date"), firstDate(line));
    }
    out.put(QStringLiteral("currency"), firstCapture(text, QStringLiteral("\\b(%1)\\b").arg(Currencies)).toUpper());
    const auto amountOn = [&](const std::function<bool(const QString &)> &wanted) -> std::optional<Amount> {
        for (const QString &line : lines) {
            if (wanted(line.toLower()))
                if (const auto amount = firstAmount(line))
                    return amount;
        }
        return std::nullopt;
    };
    const auto takeAmount = [&](const QString &key, const std::optional<Amount> &amount) {
        if (!amount)
            return;
        out.put(key, amount->number);
        if (!amount->currency.isEmpty())
            out.put(QStringLiteral("currency"), amount->currency);
    };
    takeAmount(QStringLiteral("subtotal"), amountOn([](const QString &low) {
                   return (low.contains(u"subtotal") || low.contains(u"sub total")) && !low.contains(u"total (ex");
               }));
    takeAmount(QStringLiteral("tax_amount"), amountOn([](const QString &low) {
                   return containsAny(
                              low,
                              { u"tax amount", u"tax total", u"vat amount", u"vat total", u"gst amount", u"gst total" })
                       || low.startsWith(u"tax ") || low.startsWith(u"vat ") || low.startsWith(u"gst ");
               }));
    takeAmount(QStringLiteral("total_amount"), amountOn([](const QString &low) {
                   if (low.contains(u"subtotal") || low.contains(u"sub total"))
                       return false;
                   const QString trimmed = low.trimmed();
                   return containsAny(low, { u"total amount", u"amount due", u"balance due", u"grand total" })
                       || trimmed.startsWith(u"total ") || trimmed.startsWith(u"total\t");
               }));
    if (!out.has(QStringLiteral("total_amount")) && !out.value(QStringLiteral("amount")).isEmpty())
        takeAmount(QStringLiteral("total_amount"), firstAmount(out.value(QStringLiteral("amount"))));
    for (const QString &line : lines) {
        const QString vendor = firstCapture(
            line,
            QStringLiteral("\\b(?:account\\s*name|merchant|seller|vendor|supplier|from)\\s*[:#-]\\s*(.{2,120})$"));
        if (!vendor.isEmpty()) {
            out.put(QStringLiteral("vendor"), vendor);
            break;
        }
    }
    static constexpr std::array<std::pair<std::array<const char16_t *, 2>, const char16_t *>, 4> Methods { {
        { { u"bank transfer", u"wire transfer" }, u"Bank transfer" },
        { { u"credit card", nullptr }, u"Credit card" },
        { { u"paypal", nullptr }, u"PayPal" },
        { { u"cash", nullptr }, u"Cash" },
    } };
    for (const auto &[words, method] : Methods) {
        if (lowered.contains(QStringView(words[0])) || (words[1] && lowered.contains(QStringView(words[1])))) {
            out.put(QStringLiteral("payment_method"), QString::fromUtf16(method));
            break;
        }
    }
}

void commerceGroup(Collector &out, const QString &text, const QStringList &lines)
{
    out.putCapture(
        QStringLiteral("order_number"),
        text,
        { u"\\b(?:order|purchase)\\s*(?:number|no\\.?|#|id)\\s*(?:is|:|#|-)?\\s*([A-Z0-9][A-Z0-9._/-]{2,})\\b",
          u"\\border\\s*(?:is|:|#|-)\\s*([A-Z0-9][A-Z0-9._/-]*\\d[A-Z0-9._/-]{1,})\\b" });
    out.putCapture(QStringLiteral("tracking_number"),
                   text,
                   { u"\\b(?:tracking\\s*(?:number|no\\.?|#|id|code)|waybill|awb)\\s*(?:is|:|#|-)?\\s*([A-Z0-9][A-Z0-9."
                     u"_/-]{5,})\\b",
                     u"\\btracking\\s*(?:is|:|#|-)\\s*([A-Z0-9][A-Z0-9._/-]{5,})\\b" });
    out.putCapture(QStringLiteral("sku"), text, { u"\\bSKU\\s*(?:is|:|#|-)?\\s*([A-Z0-9][A-Z0-9._/-]{2,})\\b" });
    out.put(QStringLiteral("carrier"),
            labelledValue(lines,
                          { QStringLiteral("shipping\\s*carrier"),
                            QStringLiteral("delivery\\s*(?:service|carrier)"),
                            QStringLiteral("carrier") }));
    if (!out.has(QStringLiteral("carrier"))) {
        for (const char16_t *name : { u"FedEx",
                                      u"UPS",
                                      u"USPS",
                                      u"DHL",
                                      u"Royal\\s+Mail",
                                      u"Canada\\s+Post",
                                      u"Australia\\s+Post",
                                      u"Thailand\\s+Post",
                                      u"Kerry\\s+Express",
                                      u"J&T\\s+Express",
                                      u"SF\\s+Express" }) {
            const QString pattern = QString::fromUtf16(name);
            if (caseless(u"(?<![A-Z0-9])" + pattern + u"(?![A-Z0-9])").match(text).hasMatch()) {
                out.put(QStringLiteral("carrier"),
                        QString(pattern).replace(QStringLiteral("\\s+"), QStringLiteral(" ")));
                break;
            }
        }
    }
    out.put(
        QStringLiteral("product_variant"),
        labelledValue(
            lines,
            { QStringLiteral("product\\s*variant"), QStringLiteral("item\\s*variant"), QStringLiteral("variant") }));
    out.put(QStringLiteral("type"),
            out.has(QStringLiteral("tracking_number")) || out.has(QStringLiteral("carrier"))
                ? QStringLiteral("shipping")
                : QStringLiteral("order"));
}

void travelGroup(Collector &out, const QString &text, const QStringList &lines)
{
    out.putCapture(QStringLiteral("booking_reference"),
                   text,
                   { u"\\b(?:booking[\\s_-]*(?:id|number|no\\.?|reference(?:[\\s_-]*number)?|ref\\.?|code)|reservation["
                     u"\\s_-]*(?:id|number|no\\.?|reference|ref\\.?|code)?|confirmation[\\s_-]*(?:id|number|no\\.?|"
                     u"code))\\s*(?:is|:|#|-|_)?\\s*([A-Z0-9][A-Z0-9._/-]{2,})\\b" });
    for (const QString &line : lines) {
        const QString low = line.toLower();
        if (containsAny(low, { u"check in", u"check-in", u"checkin" }))
            out.put(QStringLiteral("check_in_date"), firstDate(line));
        if (containsAny(low, { u"check out", u"check-out", u"checkout" }))
            out.put(QStringLiteral("check_out_date"), firstDate(line));
    }
    static const QStringList Addresses { QStringLiteral(" street"),  QStringLiteral(" road"),
                                         QStringLiteral(" avenue"),  QStringLiteral(" moo "),
                                         QStringLiteral(" tumbol "), QStringLiteral(" district"),
                                         QStringLiteral(" room") };
    const auto isAddress = [](const QString &low) {
        return std::any_of(
            Addresses.cbegin(), Addresses.cend(), [&low](const QString &word) { return low.contains(word); });
    };
    static const QRegularExpression lodging
        = caseless(QStringLiteral("\\b(hotel|resort|inn|suites?|villas?|hostel|lodge|lodging|guesthouse|apartments|spa|"
                                  "marriott|hilton|hyatt|sheraton)\\b"));
    qsizetype hotelLine = -1;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        const QString low = u' ' + line.toLower() + u' ';
        const auto letters = std::count_if(line.cbegin(), line.cend(), [](QChar c) { return c.isLetter(); });
        // Letters make at least 0.45 of the line, counted in whole numbers.
        if (line.size() >= 4 && lodging.match(line).hasMatch() && letters * 20 >= line.size() * 9 && !isAddress(low)) {
            out.put(QStringLiteral("hotel"), line);
            hotelLine = i;
            break;
        }
    }
    static const QStringList Countries {
        QStringLiteral("thailand"),       QStringLiteral("united states"), QStringLiteral("usa"),
        QStringLiteral("united kingdom"), QStringLiteral("japan"),         QStringLiteral("france"),
        QStringLiteral("germany"),        QStringLiteral("italy"),         QStringLiteral("spain"),
        QStringLiteral("singapore"),      QStringLiteral("malaysia"),      QStringLiteral("indonesia"),
        QStringLiteral("vietnam"),        QStringLiteral("australia"),     QStringLiteral("canada")
    };
    // The place is on the line under the hotel's name or on an address line.
    for (qsizetype i = 0; i < lines.size() && !out.has(QStringLiteral("destination")); ++i) {
        const QString &line = lines.at(i);
        const QString low = u' ' + line.toLower() + u' ';
        const bool underHotel = hotelLine >= 0 && i == hotelLine + 1;
        if (!underHotel && !isAddress(low))
            continue;
        const auto country = std::find_if(Countries.cbegin(), Countries.cend(), [&low](const QString &name) {
            return caseless(u"\\b" + name + u"\\b").match(low).hasMatch();
        });
        if (country != Countries.cend()) {
            QStringList words = country->split(u' ');
            for (QString &word : words)
                word = word == u"usa" ? word.toUpper() : word.left(1).toUpper() + word.mid(1);
            out.put(QStringLiteral("destination"), words.join(u' '));
        } else {
            const QStringList parts = line.split(u',');
            if (parts.size() >= 2)
                out.put(QStringLiteral("destination"), parts.at(parts.size() - 2));
        }
    }
    out.put(QStringLiteral("type"), QStringLiteral("travel booking"));
}

const QHash<QString, QString> &codeLanguages()
{
    static const QHash<QString, QString> table = [] {
        static constexpr std::pair<const char16_t *, const char16_t *> Rows[] = {
            { u"applescript", u"AppleScript" },
            { u"bash", u"Bash" },
            { u"c", u"C" },
            { u"cc", u"C++" },
            { u"cpp", u"C++" },
            { u"cxx", u"C++" },
            { u"hpp", u"C++" },
            { u"h", u"C/C++" },
            { u"cs", u"C#" },
            { u"css", u"CSS" },
            { u"dart", u"Dart" },
            { u"fish", u"Fish" },
            { u"go", u"Go" },
            { u"html", u"HTML" },
            { u"java", u"Java" },
            { u"js", u"JavaScript" },
            { u"jsx", u"JavaScript" },
            { u"json", u"JSON" },
            { u"kt", u"Kotlin" },
            { u"kts", u"Kotlin" },
            { u"m", u"Objective-C" },
            { u"md", u"Markdown" },
            { u"mm", u"Objective-C++" },
            { u"php", u"PHP" },
            { u"py", u"Python" },
            { u"rb", u"Ruby" },
            { u"rs", u"Rust" },
            { u"scala", u"Scala" },
            { u"scss", u"SCSS" },
            { u"sh", u"Shell" },
            { u"sql", u"SQL" },
            { u"swift", u"Swift" },
            { u"toml", u"TOML" },
            { u"ts", u"TypeScript" },
            { u"tsx", u"TypeScript" },
            { u"xml", u"XML" },
            { u"yaml", u"YAML" },
            { u"yml", u"YAML" },
            { u"zsh", u"Zsh" },
        };
        QHash<QString, QString> rows;
        for (const auto &[extension, language] : Rows)
            rows.insert(QString::fromUtf16(extension), QString::fromUtf16(language));
        return rows;
    }();
    return table;
}

} // namespace

std::optional<QString> LocalFieldDetector::cleanValue(const QString &text)
{
    QString value = text;
    value.replace(QChar(0x00A0), u' ').replace(QChar(0x202F), u' ');
    value = value.simplified();
    while (!value.isEmpty() && (value.front() == u' ' || value.front() == u':' || value.front() == u'-'))
        value.remove(0, 1);
    while (!value.isEmpty() && (value.back() == u' ' || value.back() == u':' || value.back() == u'-'))
        value.chop(1);
    return value.isEmpty() ? std::nullopt : std::optional(value);
}

std::optional<QString> LocalFieldDetector::normalizedDate(const QString &text)
{
    static const QRegularExpression wordPunctuation(QStringLiteral("(?<=[A-Za-z])[.,]"));
    QString cleaned = QString(text).remove(wordPunctuation).remove(u',').simplified();
    static const QStringList Formats = [] {
        QStringList formats { QStringLiteral("yyyy-MM-dd") };
        for (const char16_t *separator : { u"/", u"." })
            for (const char16_t *pattern : { u"yyyy#M#d", u"yyyy#M#dd", u"yyyy#MM#d", u"yyyy#MM#dd" })
                formats.append(QString::fromUtf16(pattern).replace(u'#', QString::fromUtf16(separator)));
        for (const char16_t *separator : { u"/", u"-", u"." }) {
            for (const char16_t *pattern : { u"d#M#yyyy",
                                             u"dd#M#yyyy",
                                             u"d#MM#yyyy",
                                             u"dd#MM#yyyy",
                                             u"M#d#yyyy",
                                             u"MM#d#yyyy",
                                             u"M#dd#yyyy",
                                             u"MM#dd#yyyy" })
                formats.append(QString::fromUtf16(pattern).replace(u'#', QString::fromUtf16(separator)));
        }
        for (const char16_t *pattern : { u"d/M/yy",
                                         u"dd/M/yy",
                                         u"d/MM/yy",
                                         u"dd/MM/yy",
                                         u"d MMM yyyy",
                                         u"dd MMM yyyy",
                                         u"d MMMM yyyy",
                                         u"dd MMMM yyyy",
                                         u"MMM d yyyy",
                                         u"MMM dd yyyy",
                                         u"MMMM d yyyy",
                                         u"MMMM dd yyyy" })
            formats.append(QString::fromUtf16(pattern));
        return formats;
    }();
    for (const QString &format : Formats) {
        // A four-digit year field also reads "25" as the year 25, which no
        // document means; the two-digit formats further down take it.
        const auto parsed = DateFormats::parse(cleaned, format);
        if (parsed && parsed->date().year() >= 1000)
            return DateFormats::format(*parsed, QStringLiteral("yyyy-MM-dd"));
    }
    return std::nullopt;
}

QHash<QString, QString> LocalFieldDetector::detect(const LocalFieldInput &input)
{
    const QString text = (QStringList { input.mainText } + input.furtherStrings).join(u'\n').trimmed();
    Collector out(input.existingFields);
    const QString extension = QFileInfo(input.fileName).suffix().toLower();
    out.put(QStringLiteral("code_language"), codeLanguages().value(extension));
    if (text.isEmpty())
        return out.added();
    // Only the file's own text has a language of its own: the title and
    // description are the AI's words, in whatever language it was asked to
    // answer, and would outweigh a short text or stand in for a missing one.
    out.put(QStringLiteral("language"), TextLanguage::languageName(input.mainText));
    const QString lowered = text.toLower();
    const QStringList lines = text.split(u'\n');

    const bool invoice = lowered.contains(u"invoice")
        || input.existingFields.value(QStringLiteral("type")).toLower().contains(u"invoice")
        || input.existingFields.value(QStringLiteral("type")).toLower().contains(u"receipt");
    if (invoice)
        invoiceGroup(out, text, lowered, lines);
    if (containsAny(lowered,
                    { u"booking confirmation",
                      u"booking id",
                      u"booking reference",
                      u"reservation",
                      u"check in",
                      u"check-in",
                      u"hotel",
                      u"resort",
                      u"agoda",
                      u"flight",
                      u"airline" }))
        travelGroup(out, text, lines);
    if (containsAny(lowered,
                    { u"order confirmation",
                      u"order number",
                      u"order no",
                      u"order id",
                      u"tracking number",
                      u"tracking id",
                      u"shipment",
                      u"shipping",
                      u"shipped",
                      u"delivery",
                      u"waybill",
                      u"carrier" }))
        commerceGroup(out, text, lines);
    if (containsAny(lowered,
                    { u"patient",
                      u"medical record",
                      u"date of service",
                      u"service date",
                      u"provider",
                      u"physician",
                      u"clinic",
                      u"hospital",
                      u"lab result",
                      u"prescription",
                      u"claim number",
                      u"authorization number" })) {
        out.putCapture(QStringLiteral("patient_id"),
                       text,
                       { u"\\b(?:MRN|patient\\s*id|patient\\s*number|medical\\s*record(?:\\s*(?:number|no\\.?|id))?|"
                         u"member\\s*id)\\s*(?:is|:|#|-)?\\s*([A-Z0-9][A-Z0-9._/-]{2,})\\b" });
        applyLabels(out,
                    lines,
                    { { u"patient_name", { QStringLiteral("patient\\s*name") } },
                      { u"provider_name",
                        { QStringLiteral("provider\\s*name"),
                          QStringLiteral("provider"),
                          QStringLiteral("physician"),
                          QStringLiteral("clinician"),
                          QStringLiteral("doctor") } },
                      { u"clinic_name",
                        { QStringLiteral("clinic"),
                          QStringLiteral("hospital"),
                          QStringLiteral("facility"),
                          QStringLiteral("lab(?:oratory)?") } },
                      { u"service_date",
                        { QStringLiteral("date\\s*of\\s*service"),
                          QStringLiteral("service\\s*date"),
                          QStringLiteral("visit\\s*date") },
                        true },
                      { u"appointment_date", { QStringLiteral("appointment\\s*date") }, true },
                      { u"report_type", { QStringLiteral("report\\s*type"), QStringLiteral("document\\s*type") } },
                      { u"lab_test",
                        { QStringLiteral("lab\\s*test"), QStringLiteral("test\\s*name"), QStringLiteral("panel") } },
                      { u"result_status", { QStringLiteral("result\\s*status") } } });
        static constexpr std::pair<const char16_t *, const char16_t *> Reports[] = {
            { u"lab result", u"Lab Result" },       { u"imaging report", u"Imaging Report" },
            { u"visit summary", u"Visit Summary" }, { u"clinical note", u"Clinical Note" },
            { u"prescription", u"Prescription" },   { u"referral", u"Referral" },
        };
        for (const auto &[words, report] : Reports) {
            if (lowered.contains(QStringView(words))) {
                out.put(QStringLiteral("report_type"), QString::fromUtf16(report));
                break;
            }
        }
        out.putCapture(QStringLiteral("claim_number"),
                       text,
                       { u"\\b(?:claim|authorization|auth)\\s*(?:number|no\\.?|#|id)\\s*(?:is|:|#|-)?\\s*([A-Z0-9][A-"
                         u"Z0-9._/-]{2,})\\b" });
        out.put(QStringLiteral("type"), QStringLiteral("medical record"));
    }
    if (containsAny(lowered,
                    { u"case number",
                      u"case no",
                      u"docket",
                      u"matter number",
                      u"filing date",
                      u"date filed",
                      u"plaintiff",
                      u"defendant",
                      u"court",
                      u"signed date",
                      u"counterparty" })) {
        out.putCapture(QStringLiteral("case_number"),
                       text,
                       { u"\\b(?:case|docket|matter)\\s*(?:number|no\\.?|#|id)\\s*(?:is|:|#|-)?\\s*([A-Z0-9][A-Z0-9._/"
                         u"-]{2,})\\b" });
        applyLabels(
            out,
            lines,
            { { u"matter_name",
                { QStringLiteral("matter\\s*name"),
                  QStringLiteral("matter"),
                  QStringLiteral("case\\s*name"),
                  QStringLiteral("caption") } },
              { u"court", { QStringLiteral("court") } },
              { u"filing_date",
                { QStringLiteral("filing\\s*date"), QStringLiteral("date\\s*filed"), QStringLiteral("filed") },
                true },
              { u"signed_date",
                { QStringLiteral("signed\\s*date"), QStringLiteral("date\\s*signed"), QStringLiteral("executed") },
                true },
              { u"party_name",
                { QStringLiteral("party\\s*name"),
                  QStringLiteral("plaintiff"),
                  QStringLiteral("defendant"),
                  QStringLiteral("counterparty"),
                  QStringLiteral("signer") } } });
        if (!out.has(QStringLiteral("court"))) {
            for (const QString &line : lines) {
                const QString low = line.trimmed().toLower();
                if (low.endsWith(u" court") || low.contains(u" court of ")) {
                    out.put(QStringLiteral("court"), line);
                    break;
                }
            }
        }
        out.put(QStringLiteral("type"), QStringLiteral("legal document"));
    }
    if (containsAny(lowered,
                    { u"meeting date",
                      u"meeting title",
                      u"meeting notes",
                      u"agenda",
                      u"project:",
                      u"client:",
                      u"customer:",
                      u"contract date",
                      u"effective date",
                      u"expiration date" })) {
        applyLabels(
            out,
            lines,
            { { u"meeting_date", { QStringLiteral("meeting\\s*date"), QStringLiteral("agenda\\s*date") }, true },
              { u"meeting_title",
                { QStringLiteral("meeting\\s*title"), QStringLiteral("agenda"), QStringLiteral("topic") } },
              { u"client_name", { QStringLiteral("client"), QStringLiteral("customer"), QStringLiteral("account") } },
              { u"project_name", { QStringLiteral("project") } },
              { u"department", { QStringLiteral("department"), QStringLiteral("team") } },
              { u"contract_date", { QStringLiteral("contract\\s*date") }, true },
              { u"effective_date", { QStringLiteral("effective\\s*date"), QStringLiteral("start\\s*date") }, true },
              { u"expiration_date",
                { QStringLiteral("expiration\\s*date"),
                  QStringLiteral("expiry\\s*date"),
                  QStringLiteral("end\\s*date") },
                true } });
        if (out.has(QStringLiteral("meeting_date")) || out.has(QStringLiteral("meeting_title")))
            out.put(QStringLiteral("type"), QStringLiteral("meeting notes"));
    }
    if (invoice && !out.has(QStringLiteral("invoice_number"))) {
        // The name without its extension, which is no part of a number.
        const QString stem = QFileInfo(input.fileName).completeBaseName();
        out.putCapture(QStringLiteral("invoice_number"), stem, { u"\\binvoice[_\\s-]*([A-Z0-9][A-Z0-9._-]{2,})\\b" });
        if (!out.has(QStringLiteral("invoice_number")) && stem.toLower().contains(u"invoice"))
            out.putCapture(QStringLiteral("invoice_number"), stem, { u"\\b([0-9]{4,})\\b" });
    }
    if (invoice && !out.has(QStringLiteral("invoice_date")))
        out.put(QStringLiteral("invoice_date"), out.value(QStringLiteral("document_date")));
    return out.added();
}

} // namespace Nomly
