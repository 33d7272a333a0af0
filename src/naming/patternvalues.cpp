#include "naming/patternvalues.h"

#include <QHash>
#include <functional>

#include "naming/fieldcatalogue.h"
#include "naming/nametext.h"
#include "naming/originalnametokens.h"
#include "naming/patternrendercontext.h"

namespace Nomly {

namespace {

using Resolver = std::function<QString(PatternRenderContext &)>;
using Variants = const TextVariants &(PatternRenderContext::*)();

constexpr const char16_t *DateSuffixes[] = { u"iso", u"dot", u"long", u"compact" };
constexpr const char16_t *TimeSuffixes[] = { u"short", u"compact", u"hyphen", u"12h" };

// "{title Name}": words of the lowercased title, all but the first capitalised.
QString lowerCamelSpaced(const QString &normalized)
{
    QStringList words = normalized.toLower().split(u' ');
    for (qsizetype i = 1; i < words.size(); ++i)
        words[i] = capitalizeWord(words[i]);
    return words.join(u' ');
}

// "{Vendor_Name}": each "_"-separated word capitalised, unless the whole base
// is in capitals already (an acronym such as "IBM").
QString capitalisedBase(const QString &base)
{
    if (base.toUpper() == base)
        return base;
    QStringList words = base.split(u'_');
    for (QString &word : words)
        word = capitalizeWord(word);
    return words.join(u'_');
}

// The tokens a render knows, with how each gets its value. Tokens are added
// in a fixed order and the first entry for a token wins, so the fixed forms
// (such as {type}) take precedence over the detected field of the same name.
class TokenTable final
{
public:
    TokenTable()
    {
        addTitleForms();
        addOriginalForms();
        addClockForms();
        addTextForms(u"Type", u"type", u"TYPE", &PatternRenderContext::typeVariants, &PatternRenderInput::type);
        addTextForms(
            u"Vendor", u"vendor", u"VENDOR", &PatternRenderContext::vendorVariants, &PatternRenderInput::vendor);
        addVendorJoinedForms();
        addKindAndExtension();
        addFileFacts();
        addMediaFacts();
        addPhotoFacts();
        addDocumentFacts();
        addDetectedFields();
    }

    const Resolver *find(const QString &token) const
    {
        const auto it = m_resolvers.constFind(token);
        return it == m_resolvers.cend() ? nullptr : &*it;
    }

private:
    void add(const QString &token, Resolver resolver)
    {
        if (!m_resolvers.contains(token))
            m_resolvers.insert(token, std::move(resolver));
    }

    void add(QStringView token, Resolver resolver) { add(token.toString(), std::move(resolver)); }

    void addTitleForms()
    {
        auto normalized = [](PatternRenderContext &c) { return c.titleForms().normalized; };
        auto underscored = [](PatternRenderContext &c) { return c.titleForms().underscored; };
        auto joined = [](PatternRenderContext &c) { return c.titleForms().joined; };
        add(u"{Title}", normalized);
        add(u"{Title Name}", normalized);
        add(u"{Title name}", [=](PatternRenderContext &c) { return withFirstUpper(normalized(c).toLower()); });
        add(u"{title Name}", [=](PatternRenderContext &c) { return lowerCamelSpaced(normalized(c)); });
        add(u"{title}", [](PatternRenderContext &c) { return c.styledTitle(); });
        add(u"{title name}", [=](PatternRenderContext &c) { return normalized(c).toLower(); });
        add(u"{TITLE}", [=](PatternRenderContext &c) { return normalized(c).toUpper(); });
        add(u"{TITLE NAME}", [=](PatternRenderContext &c) { return normalized(c).toUpper(); });
        add(u"{Title_Name}", underscored);
        add(u"{Title_name}", [=](PatternRenderContext &c) { return withFirstUpper(underscored(c).toLower()); });
        add(u"{title_name}", [=](PatternRenderContext &c) { return underscored(c).toLower(); });
        add(u"{TITLE_NAME}", [=](PatternRenderContext &c) { return underscored(c).toUpper(); });
        add(u"{TitleName}", joined);
        add(u"{titleName}", [=](PatternRenderContext &c) { return withFirstLower(joined(c)); });
        add(u"{titlename}", [=](PatternRenderContext &c) { return joined(c).toLower(); });
        add(u"{TITLENAME}", [=](PatternRenderContext &c) { return joined(c).toUpper(); });
    }

    void addOriginalForms()
    {
        add(u"{original}", [](PatternRenderContext &c) { return c.input().originalName; });
        for (const OriginalNameToken &row : OriginalNameTokens) {
            add(QStringView(row.token), [row](PatternRenderContext &c) {
                return sanitizeName(renderCase(c.input().originalName, row.wordSeparator, row.caseStyle), true);
            });
        }
    }

    void addClockForms()
    {
        add(u"{date}", [](PatternRenderContext &c) { return c.nowDate({}); });
        for (const char16_t *suffix : DateSuffixes)
            add(u"{date_" + QStringView(suffix) + u'}',
                [suffix](PatternRenderContext &c) { return c.nowDate(suffix); });
        add(u"{time}", [](PatternRenderContext &c) { return c.nowTime({}); });
        for (const char16_t *suffix : TimeSuffixes)
            add(u"{time_" + QStringView(suffix) + u'}',
                [suffix](PatternRenderContext &c) { return c.nowTime(suffix); });

        auto year = [](PatternRenderContext &c) { return c.nowFormatted(QStringLiteral("yyyy")); };
        add(u"{year}", year);
        add(u"{Year}", year);
        add(u"{YEAR}", year);
        add(u"{year_short}", [=](PatternRenderContext &c) { return year(c).right(2); });

        auto month = [](PatternRenderContext &c) { return c.nowFormatted(QStringLiteral("MM")); };
        auto monthName = [](PatternRenderContext &c) { return c.nowFormatted(QStringLiteral("MMMM")); };
        add(u"{month}", month);
        add(u"{month_number}", month);
        add(u"{month_short}", [](PatternRenderContext &c) { return c.nowFormatted(QStringLiteral("MMM")); });
        add(u"{month_name}", monthName);
        add(u"{Month}", monthName);
        add(u"{MONTH}", [=](PatternRenderContext &c) { return monthName(c).toUpper(); });
    }

    // {Type} {type} {TYPE} {Type_Name} {type_name} {TYPE_NAME} and the same for vendor.
    void addTextForms(
        QStringView title, QStringView lower, QStringView upper, Variants variants, QString PatternRenderInput::*raw)
    {
        const QString fieldName = lower.toString();
        add(u'{' + title + u'}', [=](PatternRenderContext &c) { return (c.*variants)()[TextVariants::Normalized]; });
        add(u'{' + lower + u'}', [=](PatternRenderContext &c) { return c.genericValue(c.input().*raw, fieldName); });
        add(u'{' + upper + u'}',
            [=](PatternRenderContext &c) { return (c.*variants)()[TextVariants::NormalizedUpper]; });
        add(u'{' + title + u"_Name}", [=](PatternRenderContext &c) { return capitalisedBase((c.*variants)().base); });
        add(u'{' + lower + u"_name}",
            [=](PatternRenderContext &c) { return (c.*variants)()[TextVariants::BaseLower]; });
        add(u'{' + upper + u"_NAME}",
            [=](PatternRenderContext &c) { return (c.*variants)()[TextVariants::BaseUpper]; });
    }

    void addVendorJoinedForms()
    {
        add(u"{VendorName}", [](PatternRenderContext &c) { return c.vendorVariants()[TextVariants::Joined]; });
        add(u"{vendorName}",
            [](PatternRenderContext &c) { return c.vendorVariants()[TextVariants::JoinedFirstLower]; });
    }

    void addKindAndExtension()
    {
        add(u"{Kind}", [](PatternRenderContext &c) { return c.kindVariants()[TextVariants::Normalized]; });
        add(u"{kind}", [](PatternRenderContext &c) { return c.kindVariants()[TextVariants::Lower]; });
        add(u"{KIND}", [](PatternRenderContext &c) { return c.kindVariants()[TextVariants::NormalizedUpper]; });
        add(u"{extension}", [](PatternRenderContext &c) { return c.extensionVariants()[TextVariants::Lower]; });
        add(u"{Extension}", [](PatternRenderContext &c) { return c.extensionVariants()[TextVariants::Normalized]; });
        auto upper = [](PatternRenderContext &c) { return c.extensionVariants()[TextVariants::NormalizedUpper]; };
        add(u"{EXTENSION}", upper);
        add(u"{extension_upper}", upper);
        add(u"{extension_original}",
            [](PatternRenderContext &c) { return sanitizeName(c.input().metadata.fileExtensionOriginal, true); });
    }

    // A field whose value comes straight from the file's metadata.
    void addGeneric(QStringView token, QString PatternFileMetadata::*member)
    {
        const QString name = normalizedFieldName(token);
        add(token, [=](PatternRenderContext &c) { return c.genericValue(c.input().metadata.*member, name); });
    }

    void addDateField(QStringView field, QString PatternFileMetadata::*member)
    {
        addGeneric(QString(u'{' + field + u'}'), member);
        for (const char16_t *suffix : DateSuffixes) {
            add(u'{' + field + u'_' + QStringView(suffix) + u'}',
                [=](PatternRenderContext &c) { return c.dateVariant(c.input().metadata.*member, suffix); });
        }
    }

    void addFileFacts()
    {
        auto size = [](PatternRenderContext &c) { return sanitizeName(c.input().metadata.size, true); };
        add(u"{size}", size);
        add(u"{Size}", size);
        add(u"{SIZE}", size);
        for (const char16_t *suffix : { u"bytes", u"kb", u"mb" }) {
            add(u"{size_" + QStringView(suffix) + u'}', [suffix](PatternRenderContext &c) {
                return sizeVariant(suffix, c.input().metadata.sizeBytes, c.input().metadata.size);
            });
        }
        addDateField(u"created_date", &PatternFileMetadata::createdDate);
        addDateField(u"modified_date", &PatternFileMetadata::modifiedDate);
        addGeneric(u"{parent_folder}", &PatternFileMetadata::parentFolder);
    }

    void addMediaFacts()
    {
        auto duration = [](QStringView suffix) {
            return [suffix](PatternRenderContext &c) {
                return durationVariant(suffix, c.input().metadata.durationSeconds, c.input().metadata.duration);
            };
        };
        add(u"{duration}", duration({}));
        add(u"{Duration}", duration({}));
        add(u"{DURATION}", duration({}));
        for (const char16_t *suffix : { u"clock", u"minutes", u"seconds" })
            add(u"{duration_" + QStringView(suffix) + u'}', duration(suffix));

        for (const char16_t *token : { u"{width}", u"{Width}", u"{WIDTH}" })
            addGeneric(QStringView(token), &PatternFileMetadata::width);
        for (const char16_t *token : { u"{height}", u"{Height}", u"{HEIGHT}" })
            addGeneric(QStringView(token), &PatternFileMetadata::height);
        auto resolution = [](QStringView suffix) {
            return
                [suffix](PatternRenderContext &c) { return resolutionVariant(suffix, c.input().metadata.resolution); };
        };
        add(u"{resolution}", resolution({}));
        add(u"{Resolution}", resolution({}));
        add(u"{RESOLUTION}", resolution({}));
        add(u"{resolution_hyphen}", resolution(u"hyphen"));
        add(u"{resolution_height}", resolution(u"height"));

        for (const char16_t *suffix : { u"", u"rounded", u"number" }) {
            const QString token
                = *suffix ? u"{frame_rate_" + QStringView(suffix) + u'}' : QStringLiteral("{frame_rate}");
            add(token,
                [suffix](PatternRenderContext &c) { return frameRateVariant(suffix, c.input().metadata.frameRate); });
        }
        addGeneric(u"{codec}", &PatternFileMetadata::codec);
        addGeneric(u"{bitrate}", &PatternFileMetadata::bitrate);
        addGeneric(u"{audio_codec}", &PatternFileMetadata::audioCodec);
    }

    void addPhotoFacts()
    {
        addDateField(u"capture_date", &PatternFileMetadata::captureDate);
        add(u"{capture_time}",
            [](PatternRenderContext &c) { return c.timeVariant(c.input().metadata.captureTime, {}); });
        for (const char16_t *suffix : TimeSuffixes) {
            add(u"{capture_time_" + QStringView(suffix) + u'}',
                [suffix](PatternRenderContext &c) { return c.timeVariant(c.input().metadata.captureTime, suffix); });
        }
        addGeneric(u"{camera_make}", &PatternFileMetadata::cameraMake);
        addGeneric(u"{camera_model}", &PatternFileMetadata::cameraModel);
        addGeneric(u"{lens_model}", &PatternFileMetadata::lensModel);
        addGeneric(u"{focal_length}", &PatternFileMetadata::focalLength);
        addGeneric(u"{focal_length_35mm}", &PatternFileMetadata::focalLength35mm);
        addGeneric(u"{aperture}", &PatternFileMetadata::aperture);
        addGeneric(u"{shutter_speed}", &PatternFileMetadata::shutterSpeed);
        addGeneric(u"{exposure_compensation}", &PatternFileMetadata::exposureCompensation);
        addGeneric(u"{iso}", &PatternFileMetadata::iso);
        addGeneric(u"{white_balance}", &PatternFileMetadata::whiteBalance);
        addGeneric(u"{flash}", &PatternFileMetadata::flash);
        addGeneric(u"{orientation}", &PatternFileMetadata::orientation);
    }

    void addDocumentFacts()
    {
        auto pages = [](PatternRenderContext &c) { return sanitizeName(c.input().metadata.pages, true); };
        auto amount = [](PatternRenderContext &c) { return sanitizeName(c.input().amount, true); };
        for (const char16_t *token : { u"{pages}", u"{Pages}", u"{PAGES}" })
            add(QStringView(token), pages);
        for (const char16_t *token : { u"{amount}", u"{Amount}", u"{AMOUNT}" })
            add(QStringView(token), amount);
        // The same three spellings as the kind: "Usd", "usd", "USD".
        add(u"{currency}", [](PatternRenderContext &c) { return c.currencyVariants()[TextVariants::Lower]; });
        add(u"{Currency}", [](PatternRenderContext &c) { return c.currencyVariants()[TextVariants::Normalized]; });
        add(u"{CURRENCY}", [](PatternRenderContext &c) { return c.currencyVariants()[TextVariants::NormalizedUpper]; });
    }

    void addDetectedFields()
    {
        const FieldCatalogue &catalogue = fieldCatalogue();
        for (const NamingPatternField *field : catalogue.allFields()) {
            if (field->source != NamingPatternField::Source::Detected)
                continue;
            const QString name = normalizedFieldName(field->token);
            add(field->token, [name](PatternRenderContext &c) { return c.genericValue(c.detectedRaw(name), name); });
            if (!catalogue.isDateField(name))
                continue;
            for (const char16_t *suffix : DateSuffixes) {
                add(u'{' + name + u'_' + QStringView(suffix) + u'}',
                    [name, suffix](PatternRenderContext &c) { return c.dateVariant(c.detectedRaw(name), suffix); });
            }
        }
    }

    QHash<QString, Resolver> m_resolvers;
};

} // namespace

std::optional<QString> patternValue(const QString &token, PatternRenderContext &context)
{
    static const TokenTable table;
    if (const Resolver *resolver = table.find(token))
        return (*resolver)(context);
    return std::nullopt;
}

} // namespace Nomly
