#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDateTime>
#include <QHash>
#include <QString>
#include <optional>

namespace Nomly {

// What the user tells the command line about a file in place of an AI
// analysis, and the moment of the render.
struct CliAnalysis
{
    QString title;
    QString type;
    QString vendor;
    QString amount;
    QString currency;
    QHash<QString, QString> fields; // by normalised field name
    QDateTime now;
};

// --title, --type, --vendor, --amount, --currency, --field NAME=VALUE, and
// for a preview --now.
class AnalysisOptions final
{
public:
    enum class Use
    {
        // Nothing moves: the title may be left out and the moment chosen.
        Preview,
        // Files are renamed now, under the user's own title.
        Rename,
    };

    AnalysisOptions(QCommandLineParser &parser, Use use);

    // The analysis, or an error text for a malformed --field or --now.
    std::optional<CliAnalysis> read(const QCommandLineParser &parser, QString *error) const;

private:
    Use m_use;
    QCommandLineOption m_title;
    QCommandLineOption m_type;
    QCommandLineOption m_vendor;
    QCommandLineOption m_amount;
    QCommandLineOption m_currency;
    QCommandLineOption m_field;
    QCommandLineOption m_now;
};

} // namespace Nomly
