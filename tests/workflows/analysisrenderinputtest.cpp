// A name rendered from what the AI answered: the fields it reported reach
// their tokens whatever key the model wrote, and the vendor, amount and
// currency come from the analysis or, failing that, from its fields.

#include <QTest>

#include "naming/filerenamer.h"
#include "workflows/analysisrenderinput.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

using ModelFields = QMap<QString, QString>;

class AnalysisRenderInputTest : public QObject
{
    Q_OBJECT

private slots:

    void renders_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("amount");
        QTest::addColumn<ModelFields>("fields");
        QTest::addColumn<QString>("expected");
        QTest::newRow("keys in words") << u"{invoice_number} {check_in_date_iso}"_s << QString()
                                       << ModelFields { { u"Invoice Number"_s, u"INV-9"_s },
                                                        { u"check-in date"_s, u"03/04/2026"_s } }
                                       << u"INV-9 2026-04-03"_s;
        QTest::newRow("alias key") << u"{client_name}"_s << QString()
                                   << ModelFields { { u"customer"_s, u"Northwind"_s } } << u"Northwind"_s;
        QTest::newRow("vendor from its field")
            << u"{vendor}"_s << QString() << ModelFields { { u"vendor_name"_s, u"Acme"_s } } << u"Acme"_s;
        QTest::newRow("currency from the amount")
            << u"{CURRENCY} {amount}"_s << u"€12.50"_s << ModelFields {} << u"EUR 12.50"_s;
        QTest::newRow("currency the model named")
            << u"{CURRENCY}"_s << u"€12.50"_s << ModelFields { { u"currency"_s, u"CHF"_s } } << u"CHF"_s;
    }

    void renders()
    {
        QFETCH(QString, pattern);
        QFETCH(QString, amount);
        QFETCH(ModelFields, fields);
        QFETCH(QString, expected);
        EffectiveAnalysisSettings settings;
        settings.namingPattern = pattern;
        ImageAnalysis analysis;
        analysis.title = u"Scan"_s;
        if (!amount.isEmpty())
            analysis.amount = amount;
        analysis.detectedFields = fields;
        const QDateTime now(QDate(2026, 9, 3), QTime(14, 30, 5));
        QCOMPARE(FileRenamer::applyPattern(analysisRenderInput(settings, analysis, now)), expected);
    }
};

QTEST_GUILESS_MAIN(AnalysisRenderInputTest)
#include "analysisrenderinputtest.moc"
