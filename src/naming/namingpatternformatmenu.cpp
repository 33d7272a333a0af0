#include "naming/namingpatternformatmenu.h"

#include <array>

#include "naming/fieldcatalogue.h"
#include "naming/namingpattern.h"

namespace Nomly {

namespace {

struct FormatRow
{
    // Appended to the field's name; empty for the field itself.
    const char16_t *suffix;
    const char16_t *titleKey;
};

constexpr FormatRow DateRows[] = {
    { u"", u"Default" },           { u"_iso", u"YYYY-MM-DD" },   { u"_dot", u"DD.MM.YYYY" },
    { u"_long", u"July 15 2026" }, { u"_compact", u"YYYYMMDD" },
};

constexpr FormatRow TimeRows[] = {
    { u"", u"14.30.00" },        { u"_short", u"14.30" }, { u"_compact", u"143000" },
    { u"_hyphen", u"14-30-00" }, { u"_12h", u"2.30 PM" },
};

// Families with a fixed set of tokens, keyed by the field they format.
struct FixedRow
{
    const char16_t *token;
    const char16_t *titleKey;
};

struct FixedFamily
{
    const char16_t *baseName;
    const char16_t *title;
    // At most four formats; unused rows have no token.
    std::array<FixedRow, 4> rows;
};

constexpr FixedFamily FixedFamilies[] = {
    { u"month_name",
      u"Month format",
      { { { u"{month}", u"07" }, { u"{month_short}", u"Jul" }, { u"{month_name}", u"July" } } } },
    { u"year", u"Year format", { { { u"{year}", u"2026" }, { u"{year_short}", u"26" } } } },
    { u"extension",
      u"Extension format",
      { { { u"{extension}", u"png" }, { u"{extension_upper}", u"PNG" }, { u"{extension_original}", u"Original" } } } },
    { u"size",
      u"Size format",
      { { { u"{size}", u"Auto" }, { u"{size_bytes}", u"Bytes" }, { u"{size_kb}", u"KB" }, { u"{size_mb}", u"MB" } } } },
    { u"duration",
      u"Duration format",
      { { { u"{duration}", u"1m24s" },
          { u"{duration_clock}", u"00.01.24" },
          { u"{duration_minutes}", u"1.4m" },
          { u"{duration_seconds}", u"84s" } } } },
    { u"resolution",
      u"Resolution format",
      { { { u"{resolution}", u"1920x1080" },
          { u"{resolution_hyphen}", u"1920-1080" },
          { u"{resolution_height}", u"1080p" } } } },
    { u"frame_rate",
      u"Frame rate format",
      { { { u"{frame_rate}", u"29.97fps" },
          { u"{frame_rate_rounded}", u"30fps" },
          { u"{frame_rate_number}", u"29.97" } } } },
};

template<std::size_t N>
NamingPatternFormatMenu suffixedMenu(const QString &title, const QString &baseName, const FormatRow (&rows)[N])
{
    NamingPatternFormatMenu menu { title, {} };
    for (const FormatRow &row : rows)
        menu.options.append({ u'{' + baseName + QStringView(row.suffix) + u'}', QString::fromUtf16(row.titleKey) });
    return menu;
}

} // namespace

std::optional<NamingPatternFormatMenu> formatMenuForToken(const QString &token)
{
    const auto baseName = variantBaseName(normalizedFieldName(canonicalToken(token)));
    if (!baseName)
        return std::nullopt;

    const FieldCatalogue &catalogue = fieldCatalogue();
    if (catalogue.isDateField(*baseName))
        return suffixedMenu(QStringLiteral("Date format"), *baseName, DateRows);
    if (catalogue.isTimeField(*baseName))
        return suffixedMenu(QStringLiteral("Time format"), *baseName, TimeRows);

    for (const FixedFamily &family : FixedFamilies) {
        if (*baseName != QStringView(family.baseName))
            continue;
        NamingPatternFormatMenu menu { QString::fromUtf16(family.title), {} };
        for (const FixedRow &row : family.rows) {
            if (row.token)
                menu.options.append({ QString::fromUtf16(row.token), QString::fromUtf16(row.titleKey) });
        }
        return menu;
    }
    return std::nullopt;
}

} // namespace Nomly
