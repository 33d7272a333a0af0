// The fields that manifests, source files, mail headers and drawings give.

#include <QString>

#include "naming/detectedfields.h"
#include "naming/textfacts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    Nomly::TextFacts::codeProject(QStringLiteral("package.json"), text);
    Nomly::TextFacts::codeProject(QStringLiteral("pyproject.toml"), text);
    Nomly::TextFacts::codeProject(QStringLiteral("x.gemspec"), text);
    Nomly::TextFacts::sourceCode(text);
    Nomly::TextFacts::mailHeaders(text);
    Nomly::TextFacts::design(text);
    Nomly::TextFacts::exportScale(text);
    Nomly::TextFacts::currencyOfAmount(text);
    Nomly::DetectedFields::normalized({ { text, text } });
    return 0;
}
