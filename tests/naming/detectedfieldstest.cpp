// What the AI reports of a file, merged into the detected map a name is
// rendered from: keys under their field names, the vendor, amount and
// currency, and what wins over what.

#include <QTest>

#include "naming/detectedfields.h"
#include "naming/filerenamer.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

using Fields = QHash<QString, QString>;
using ModelFields = QMap<QString, QString>;

namespace {

// The analysis' own type, vendor and amount, as the caller puts them in.
struct Said
{
    QString type;
    QString vendor;
    QString amount;
};

PatternRenderInput merged(const QString &pattern, const Said &said, const ModelFields &fields, const Fields &facts)
{
    PatternRenderInput input;
    input.pattern = pattern;
    input.title = u"Scan"_s;
    input.now = QDateTime(QDate(2026, 9, 3), QTime(14, 30, 5));
    input.type = said.type;
    input.vendor = said.vendor;
    input.amount = said.amount;
    input.metadata.detectedFields = facts;
    return DetectedFields::withAnalysis(input, fields);
}

} // namespace

Q_DECLARE_METATYPE(Said)

class DetectedFieldsTest : public QObject
{
    Q_OBJECT

private slots:

    void renders_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<Said>("said");
        QTest::addColumn<ModelFields>("fields");
        QTest::addColumn<Fields>("facts");
        QTest::addColumn<QString>("expected");
        QTest::newRow("key in words") << u"{invoice_number}"_s << Said {}
                                      << ModelFields { { u"Invoice Number"_s, u"INV-9"_s } } << Fields {} << u"INV-9"_s;
        QTest::newRow("hyphenated key, date form")
            << u"{check_in_date_iso}"_s << Said {} << ModelFields { { u"check-in date"_s, u"03/04/2026"_s } }
            << Fields {} << u"2026-04-03"_s;
        QTest::newRow("alias key") << u"{client_name}"_s << Said {} << ModelFields { { u"customer"_s, u"Northwind"_s } }
                                   << Fields {} << u"Northwind"_s;
        QTest::newRow("vendor from the vendor_name field")
            << u"{vendor}"_s << Said {} << ModelFields { { u"vendor_name"_s, u"Acme"_s } } << Fields {} << u"Acme"_s;
        QTest::newRow("the analysis' vendor wins")
            << u"{vendor}"_s << Said { {}, u"Globex"_s, {} } << ModelFields { { u"vendor_name"_s, u"Acme"_s } }
            << Fields {} << u"Globex"_s;
        QTest::newRow("currency from the amount")
            << u"{CURRENCY}"_s << Said { {}, {}, u"$42.99"_s } << ModelFields {} << Fields {} << u"USD"_s;
        QTest::newRow("currency from the total field")
            << u"{CURRENCY}"_s << Said {} << ModelFields { { u"Total Amount"_s, u"12,50 €"_s } } << Fields {}
            << u"EUR"_s;
        QTest::newRow("the total before the amount")
            << u"{CURRENCY}"_s << Said {} << ModelFields { { u"amount"_s, u"5 GBP"_s }, { u"total"_s, u"100 CHF"_s } }
            << Fields {} << u"CHF"_s;
        QTest::newRow("a named currency stands")
            << u"{CURRENCY}"_s << Said { {}, {}, u"$42.99"_s } << ModelFields { { u"Currency"_s, u"CHF"_s } }
            << Fields {} << u"CHF"_s;
        QTest::newRow("amount from the total field")
            << u"{amount}"_s << Said {} << ModelFields { { u"total"_s, u"42.99"_s } } << Fields {} << u"42.99"_s;
        QTest::newRow("amount from the amount field")
            << u"{amount}"_s << Said {} << ModelFields { { u"amount"_s, u"17.50"_s } } << Fields {} << u"17.50"_s;
        QTest::newRow("amount: the total before the amount")
            << u"{amount}"_s << Said {} << ModelFields { { u"amount"_s, u"5.00"_s }, { u"total"_s, u"42.99"_s } }
            << Fields {} << u"42.99"_s;
        QTest::newRow("the analysis' amount wins")
            << u"{total_amount}"_s << Said { {}, {}, u"9.99"_s } << ModelFields { { u"total"_s, u"42.99"_s } }
            << Fields {} << u"9.99"_s;
        QTest::newRow("escapes decoded") << u"{client_name}"_s << Said {}
                                         << ModelFields { { u"Client Name"_s, u"Caf\\u00e9 Roma"_s } } << Fields {}
                                         << u"Café Roma"_s;
        QTest::newRow("the AI's field over the file's")
            << u"{artist}"_s << Said {} << ModelFields { { u"Artist"_s, u"New Order"_s } }
            << Fields { { u"artist"_s, u"Joy Division"_s } } << u"New Order"_s;
        QTest::newRow("the file's field when the AI's is blank")
            << u"{artist}"_s << Said {} << ModelFields { { u"Artist"_s, u"  "_s } }
            << Fields { { u"artist"_s, u"Joy Division"_s } } << u"Joy Division"_s;
    }

    void renders()
    {
        QFETCH(QString, pattern);
        QFETCH(Said, said);
        QFETCH(ModelFields, fields);
        QFETCH(Fields, facts);
        QFETCH(QString, expected);
        QCOMPARE(FileRenamer::applyPattern(merged(pattern, said, fields, facts)), expected);
    }

    // The map itself, which history keeps and the tags are made from.
    void map_data()
    {
        QTest::addColumn<Said>("said");
        QTest::addColumn<ModelFields>("fields");
        QTest::addColumn<Fields>("facts");
        QTest::addColumn<Fields>("expected");
        QTest::newRow("analysis values go in")
            << Said { u"Invoice"_s, u"Acme"_s, u"€12"_s } << ModelFields {} << Fields {}
            << Fields { { u"type"_s, u"Invoice"_s },
                        { u"vendor"_s, u"Acme"_s },
                        { u"amount"_s, u"€12"_s },
                        { u"total_amount"_s, u"€12"_s },
                        { u"currency"_s, u"EUR"_s } };
        QTest::newRow("the file's kind keeps its type")
            << Said { u"Receipt"_s, {}, {} } << ModelFields {} << Fields { { u"type"_s, u"image"_s } }
            << Fields { { u"type"_s, u"image"_s } };
        QTest::newRow("nothing said, nothing added")
            << Said {} << ModelFields { { u"Notes"_s, u""_s } } << Fields {} << Fields {};
        QTest::newRow("no currency without one in the amount")
            << Said { {}, {}, u"42.99"_s } << ModelFields {} << Fields {}
            << Fields { { u"amount"_s, u"42.99"_s }, { u"total_amount"_s, u"42.99"_s } };
    }

    void map()
    {
        QFETCH(Said, said);
        QFETCH(ModelFields, fields);
        QFETCH(Fields, facts);
        QFETCH(Fields, expected);
        QCOMPARE(merged(u"{title}"_s, said, fields, facts).metadata.detectedFields, expected);
    }
};

QTEST_APPLESS_MAIN(DetectedFieldsTest)
#include "detectedfieldstest.moc"
