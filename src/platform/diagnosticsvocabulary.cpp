#include "platform/diagnosticsvocabulary.h"

#include <QRegularExpression>

namespace Nomly {

namespace {

// Product events, in the order a reader of the record meets them.
const QStringList Events = {
    QStringLiteral("app_launched"),
    QStringLiteral("settings_window_shown"),
    QStringLiteral("welcome_shown"),
    QStringLiteral("consent_gate_shown"),
    QStringLiteral("onboarding_completed"),
    QStringLiteral("consent_accepted"),
    QStringLiteral("consent_review_requested"),
    QStringLiteral("tab_selected"),
    QStringLiteral("byok_banner_shown"),
    QStringLiteral("byok_tab_opened"),
    QStringLiteral("byok_toggled"),
    QStringLiteral("byok_provider_changed"),
    QStringLiteral("byok_key_saved"),
    QStringLiteral("byok_key_cleared"),
    QStringLiteral("byok_connection_tested"),
    QStringLiteral("ai_processing_mode_changed"),
    QStringLiteral("local_ai_toggled"),
    QStringLiteral("local_ai_connection_tested"),
    QStringLiteral("local_ai_models_refreshed"),
    QStringLiteral("ai_rename_viewed"),
    QStringLiteral("ai_rename_template_selected"),
    QStringLiteral("ai_rename_drop_attempted"),
    QStringLiteral("ai_rename_drop_deferred"),
    QStringLiteral("ai_rename_drop_blocked_consent"),
    QStringLiteral("ai_rename_drop_no_supported_files"),
    QStringLiteral("ai_rename_files_added"),
    QStringLiteral("ai_rename_analysis_started"),
    QStringLiteral("ai_rename_analysis_completed"),
    QStringLiteral("ai_rename_analysis_failed"),
    QStringLiteral("ai_rename_regenerate_clicked"),
    QStringLiteral("ai_rename_regenerate_blocked_consent"),
    QStringLiteral("ai_rename_regenerate_failed"),
    QStringLiteral("ai_rename_rename_all_clicked"),
    QStringLiteral("ai_rename_folder_access_prompted"),
    QStringLiteral("ai_rename_folder_access_denied"),
    QStringLiteral("ai_rename_rename_completed"),
    QStringLiteral("ai_rename_rename_failed"),
    QStringLiteral("monitoring_started"),
    QStringLiteral("monitoring_paused"),
    QStringLiteral("hotkey_triggered"),
    QStringLiteral("hotkey_blocked_consent"),
    QStringLiteral("hotkey_no_supported_files"),
    QStringLiteral("quick_rename_triggered"),
    QStringLiteral("quick_rename_blocked_consent"),
    QStringLiteral("quick_rename_no_supported_files"),
    QStringLiteral("statistics_viewed"),
    QStringLiteral("statistics_period_changed"),
    QStringLiteral("template_selected"),
    QStringLiteral("template_edit_requested"),
    QStringLiteral("template_created"),
    QStringLiteral("template_duplicated"),
    QStringLiteral("template_deleted"),
    QStringLiteral("template_reset"),
    QStringLiteral("template_demo_restored"),
};

constexpr qsizetype MaxKeyLength = 40;
constexpr qsizetype MaxValueLength = 64;
// Longer words are more likely a token or a name than a reason.
constexpr qsizetype MaxWordLength = 40;

const QRegularExpression &numberPattern()
{
    static const QRegularExpression pattern(QStringLiteral("^-?[0-9]+(\\.[0-9]+)*$"));
    return pattern;
}

// Keys and words alike: snake_case.
const QRegularExpression &wordPattern()
{
    static const QRegularExpression pattern(QStringLiteral("^[a-z][a-z0-9_]*$"));
    return pattern;
}

// A word of a fixed vocabulary has few digits; a run of letters and digits
// mixed (a hexadecimal key, a device id) is a token.
bool looksLikeToken(const QString &word)
{
    int digits = 0;
    for (const QChar c : word)
        digits += c.isDigit() ? 1 : 0;
    return digits >= 4 && word.size() - digits >= 4;
}

bool isWord(const QString &word)
{
    return word.size() <= MaxWordLength && wordPattern().match(word).hasMatch() && !looksLikeToken(word);
}

} // namespace

const QStringList &DiagnosticsVocabulary::events()
{
    return Events;
}

bool DiagnosticsVocabulary::isEvent(const QString &name)
{
    return Events.contains(name);
}

bool DiagnosticsVocabulary::isKey(const QString &key)
{
    return key.size() <= MaxKeyLength && wordPattern().match(key).hasMatch();
}

bool DiagnosticsVocabulary::isValue(const QString &value)
{
    if (value.isEmpty() || value.size() > MaxValueLength)
        return false;
    if (numberPattern().match(value).hasMatch())
        return true;
    const QStringList words = value.split(QLatin1Char(','));
    return std::all_of(words.begin(), words.end(), isWord);
}

bool DiagnosticsVocabulary::isCategory(const QString &category)
{
    const QStringList words = category.split(QLatin1Char('.'));
    return category.size() <= MaxKeyLength && std::all_of(words.begin(), words.end(), isWord);
}

DiagnosticsParameters DiagnosticsVocabulary::sanitized(const DiagnosticsParameters &parameters, int *withheld)
{
    DiagnosticsParameters kept;
    int refused = 0;
    for (auto it = parameters.begin(); it != parameters.end(); ++it) {
        if (!isKey(it.key())) {
            ++refused;
            continue;
        }
        if (isValue(it.value())) {
            kept.insert(it.key(), it.value());
        } else {
            ++refused;
            kept.insert(it.key(), QStringLiteral("withheld"));
        }
    }
    if (withheld)
        *withheld = refused;
    return kept;
}

QString DiagnosticsVocabulary::word(const QString &candidate)
{
    return isWord(candidate) ? candidate : QStringLiteral("unknown");
}

QString DiagnosticsVocabulary::flag(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

} // namespace Nomly
