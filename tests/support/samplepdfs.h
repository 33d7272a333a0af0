#pragma once

#include <QString>
#include <QStringList>

namespace Nomly::Test {

// A PDF with a text layer: one page per entry, its text wrapped on the page;
// an empty entry leaves its page blank. Needs a QGuiApplication.
bool writeTextPdf(const QString &path, const QStringList &pages);

// A PDF as a scanner makes it: each page a picture of the entry's lines, with
// no text layer at all.
bool writeScannedPdf(const QString &path, const QStringList &pages);

// "This is the text of page number N in the sample document." for 1..count.
QStringList numberedPages(int count);

} // namespace Nomly::Test
