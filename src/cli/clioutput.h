#pragma once

#include <QJsonDocument>
#include <QString>

namespace Nomly {

// Standard output and error for the command line, UTF-8, one line at a time.
struct CliOutput
{
    static void line(const QString &text);
    static void error(const QString &text);
    static void json(const QJsonDocument &document);
};

} // namespace Nomly
