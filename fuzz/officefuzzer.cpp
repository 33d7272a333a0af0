// Office files: the ZIP-based readers and the legacy binary ones (their
// compound-file container, the piece table, text records, summary and the
// string scan). The first byte picks the reader; the rest is the file.

#include "content/legacyofficereader.h"
#include "content/legacyworkbookscan.h"
#include "content/officedocumentreader.h"
#include "fuzzfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    const uint8_t choice = data[0] % 7;
    static const char *const Names[] = { "in.docx", "in.xlsx", "in.pptx", "in.odt", "in.doc", "in.ppt", "in.xls" };
    const Nomly::Fuzz::FuzzFile file(Names[choice], data + 1, size - 1);
    switch (choice) {
    case 0:
        Nomly::OfficeDocumentReader::wordText(file.path());
        break;
    case 1:
        Nomly::OfficeDocumentReader::excelText(file.path());
        break;
    case 2:
        Nomly::OfficeDocumentReader::powerPointText(file.path());
        break;
    case 3:
        Nomly::OfficeDocumentReader::openDocumentText(file.path());
        break;
    case 4:
        Nomly::LegacyOfficeReader::text(file.path(), QStringLiteral("doc"));
        break;
    case 5:
        Nomly::LegacyOfficeReader::text(file.path(), QStringLiteral("ppt"));
        break;
    default:
        Nomly::legacyWorkbookText(QByteArray(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1)));
        Nomly::LegacyOfficeReader::text(file.path(), QStringLiteral("xls"));
        break;
    }
    return 0;
}
