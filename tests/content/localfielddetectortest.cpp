// Fields read from a document's text by rule: each kind's gate, its labels
// and patterns, the date and amount forms, and what is never overwritten.

#include <QTest>

#include "content/localfielddetector.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

using Fields = QHash<QString, QString>;

class LocalFieldDetectorTest : public QObject
{
    Q_OBJECT

private slots:

    void dates_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("day first wins") << u"03/04/2026"_s << u"2026-04-03"_s;
        QTest::newRow("day above twelve") << u"13/04/2026"_s << u"2026-04-13"_s;
        QTest::newRow("month first when day first fails") << u"04/13/2026"_s << u"2026-04-13"_s;
        QTest::newRow("iso") << u"2026-11-23"_s << u"2026-11-23"_s;
        QTest::newRow("words with punctuation") << u"Nov. 23, 2026"_s << u"2026-11-23"_s;
        QTest::newRow("day month words") << u"5 March 2025"_s << u"2025-03-05"_s;
        QTest::newRow("two-digit year") << u"5/3/25"_s << u"2025-03-05"_s;
        QTest::newRow("not a date") << u"31/31/2026"_s << QString();
    }

    void dates()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(LocalFieldDetector::normalizedDate(text).value_or(QString()), expected);
    }

    void detects_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<Fields>("existing");
        QTest::addColumn<Fields>("expected");
        QTest::newRow("invoice")
            << u"INVOICE\nInvoice No: INV-2041\nInvoice date: 03/04/2026\nDue date: 17/04/2026\nSubtotal $1,100.00\n"
               u"VAT amount $134.56\nTotal $1,234.56\nFrom: Acme Tools Ltd\nPaid by credit card"_s
            << u"scan.pdf"_s << Fields {}
            << Fields { { u"invoice_number"_s, u"INV-2041"_s },
                        { u"invoice_date"_s, u"2026-04-03"_s },
                        { u"due_date"_s, u"2026-04-17"_s },
                        { u"subtotal"_s, u"1,100.00"_s },
                        { u"tax_amount"_s, u"134.56"_s },
                        { u"total_amount"_s, u"1,234.56"_s },
                        { u"currency"_s, u"USD"_s },
                        { u"vendor"_s, u"Acme Tools Ltd"_s },
                        { u"payment_method"_s, u"Credit card"_s } };
        QTest::newRow("the AI's value is kept")
            << u"Invoice # 7781\nTotal 50.00 EUR"_s << u"a.txt"_s << Fields { { u"invoice_number"_s, u"A-1"_s } }
            << Fields { { u"total_amount"_s, u"50.00"_s }, { u"currency"_s, u"EUR"_s } };
        QTest::newRow("number from the file name") << u"Receipt for your invoice, thank you"_s << u"invoice_88213.pdf"_s
                                                   << Fields {} << Fields { { u"invoice_number"_s, u"88213"_s } };
        QTest::newRow("a word after invoice is no number")
            << u"Invoice summary for March\nTotal 120.00 EUR"_s << u"march.pdf"_s << Fields {}
            << Fields { { u"total_amount"_s, u"120.00"_s }, { u"currency"_s, u"EUR"_s } };
        QTest::newRow("a word after the invoice is no number")
            << u"Please find the invoice attached.\nAmount due: $80.00"_s << u"mail.eml"_s << Fields {}
            << Fields { { u"total_amount"_s, u"80.00"_s }, { u"currency"_s, u"USD"_s } };
        QTest::newRow("total with a colon is no total line")
            << u"Invoice INV-31\nTotal: 3 items\nAmount due: $45.00"_s << u"a.pdf"_s << Fields {}
            << Fields { { u"invoice_number"_s, u"INV-31"_s },
                        { u"total_amount"_s, u"45.00"_s },
                        { u"currency"_s, u"USD"_s } };
        QTest::newRow("due date above the invoice date")
            << u"Invoice INV-32\nDue date: 17/04/2026\nInvoice date: 03/04/2026"_s << u"a.pdf"_s << Fields {}
            << Fields { { u"invoice_number"_s, u"INV-32"_s },
                        { u"due_date"_s, u"2026-04-17"_s },
                        { u"invoice_date"_s, u"2026-04-03"_s } };
        QTest::newRow("payment date is no invoice date")
            << u"Invoice INV-33\nPayment date: 20/04/2026\nDate: 03/04/2026"_s << u"a.pdf"_s << Fields {}
            << Fields { { u"invoice_number"_s, u"INV-33"_s },
                        { u"payment_date"_s, u"2026-04-20"_s },
                        { u"invoice_date"_s, u"2026-04-03"_s } };
        QTest::newRow("payment due is no payment date")
            << u"Invoice INV-36\nPayment due 17/04/2026"_s << u"a.pdf"_s << Fields {}
            << Fields { { u"invoice_number"_s, u"INV-36"_s }, { u"due_date"_s, u"2026-04-17"_s } };
        QTest::newRow("document date stands in for the invoice date")
            << u"Invoice INV-34\nTotal 10.00 EUR"_s << u"a.pdf"_s << Fields { { u"document_date"_s, u"2026-02-01"_s } }
            << Fields { { u"invoice_number"_s, u"INV-34"_s },
                        { u"total_amount"_s, u"10.00"_s },
                        { u"currency"_s, u"EUR"_s },
                        { u"invoice_date"_s, u"2026-02-01"_s } };
        QTest::newRow("purchase order number")
            << u"Invoice INV-35\nPO Number: PO-4471"_s << u"a.pdf"_s << Fields {}
            << Fields { { u"invoice_number"_s, u"INV-35"_s }, { u"po_number"_s, u"PO-4471"_s } };
        QTest::newRow("shipping")
            << u"Your order has shipped\nOrder number: 112-553\nTracking number: 1Z999AA10123456784\nSKU: TSH-RED-M\n"
               u"Variant: Red / M\nCarrier: pending\nDelivered by UPS"_s
            << u"mail.eml"_s << Fields {}
            << Fields { { u"order_number"_s, u"112-553"_s }, { u"tracking_number"_s, u"1Z999AA10123456784"_s },
                        { u"sku"_s, u"TSH-RED-M"_s },        { u"product_variant"_s, u"Red / M"_s },
                        { u"carrier"_s, u"UPS"_s },          { u"type"_s, u"shipping"_s } };
        QTest::newRow("short tracking code is no tracking number")
            << u"Order ID: AB-77\nTracking number: 12345"_s << u"o.txt"_s << Fields {}
            << Fields { { u"order_number"_s, u"AB-77"_s }, { u"type"_s, u"order"_s } };
        QTest::newRow("hotel booking")
            << u"Booking confirmation\nBooking ID: 88AXQ2\nSunset Beach Resort\n12 Moo 3 Beach Road, Phuket, Thailand\n"
               u"Check-in: Fri 5 Dec 2025\nCheck-out: 9 Dec 2025"_s
            << u"booking.pdf"_s << Fields {}
            << Fields { { u"booking_reference"_s, u"88AXQ2"_s },  { u"hotel"_s, u"Sunset Beach Resort"_s },
                        { u"destination"_s, u"Thailand"_s },      { u"check_in_date"_s, u"2025-12-05"_s },
                        { u"check_out_date"_s, u"2025-12-09"_s }, { u"type"_s, u"travel booking"_s } };
        QTest::newRow("destination under the hotel")
            << u"Booking confirmation\nGrand Palace Hotel\nTokyo, Japan\nCheck-in: 2025-12-05"_s << u"b.pdf"_s
            << Fields {}
            << Fields { { u"hotel"_s, u"Grand Palace Hotel"_s },
                        { u"destination"_s, u"Japan"_s },
                        { u"check_in_date"_s, u"2025-12-05"_s },
                        { u"type"_s, u"travel booking"_s } };
        QTest::newRow("destination from the address when no country is named")
            << u"Reservation\nHarbour View Hotel\n88 Queen Street, Auckland, 1010"_s << u"b.pdf"_s << Fields {}
            << Fields { { u"hotel"_s, u"Harbour View Hotel"_s },
                        { u"destination"_s, u"Auckland"_s },
                        { u"type"_s, u"travel booking"_s } };
        QTest::newRow("two-word country")
            << u"Booking confirmation\nOcean Resort\n1 Main Street, Miami, United States"_s << u"b.pdf"_s << Fields {}
            << Fields { { u"hotel"_s, u"Ocean Resort"_s },
                        { u"destination"_s, u"United States"_s },
                        { u"type"_s, u"travel booking"_s } };
        // Nine letters in twenty characters is just enough; five is not.
        QTest::newRow("hotel line needs letters")
            << u"Booking confirmation\nHotel 4471-8890-1234\nVilla Rosa 1234-5678\nSeaside Villas"_s << u"b.pdf"_s
            << Fields {} << Fields { { u"hotel"_s, u"Villa Rosa 1234-5678"_s }, { u"type"_s, u"travel booking"_s } };
        QTest::newRow("medical")
            << u"Patient name: Ana Ruiz\nMRN: 55-1902\nDate of service: 2025-02-11\nLab result summary\nClinic: Northside Health"_s
            << u"r.pdf"_s << Fields {}
            << Fields { { u"patient_name"_s, u"Ana Ruiz"_s },        { u"patient_id"_s, u"55-1902"_s },
                        { u"service_date"_s, u"2025-02-11"_s },      { u"report_type"_s, u"Lab Result"_s },
                        { u"clinic_name"_s, u"Northside Health"_s }, { u"type"_s, u"medical record"_s } };
        QTest::newRow("legal") << u"Case No: 24-CV-0193\nPlaintiff: Jordan Blake\nFiled: 1 July 2024\nSuperior Court"_s
                               << u"f.pdf"_s << Fields {}
                               << Fields { { u"case_number"_s, u"24-CV-0193"_s },
                                           { u"party_name"_s, u"Jordan Blake"_s },
                                           { u"filing_date"_s, u"2024-07-01"_s },
                                           { u"court"_s, u"Superior Court"_s },
                                           { u"type"_s, u"legal document"_s } };
        QTest::newRow("meeting") << u"Meeting notes\nMeeting date: 2026-01-15\nProject: Atlas\nClient: Northwind"_s
                                 << u"notes.md"_s << Fields {}
                                 << Fields { { u"meeting_date"_s, u"2026-01-15"_s },
                                             { u"project_name"_s, u"Atlas"_s },
                                             { u"client_name"_s, u"Northwind"_s },
                                             { u"type"_s, u"meeting notes"_s },
                                             { u"code_language"_s, u"Markdown"_s } };
        QTest::newRow("code file") << QString() << u"main.rs"_s << Fields {}
                                   << Fields { { u"code_language"_s, u"Rust"_s } };
    }

    void detects()
    {
        QFETCH(QString, text);
        QFETCH(QString, fileName);
        QFETCH(Fields, existing);
        QFETCH(Fields, expected);
        LocalFieldInput input;
        input.mainText = text;
        input.fileName = fileName;
        input.existingFields = existing;
        // The language of these label lists is left to the language cases.
        Fields actual = LocalFieldDetector::detect(input);
        actual.remove(u"language"_s);
        QCOMPARE(actual, expected);
    }

    void language_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("further");
        QTest::addColumn<Fields>("existing");
        QTest::addColumn<QString>("expected");
        const QString letter = u"Sehr geehrte Damen und Herren, vielen Dank für Ihre Anfrage. Wir melden uns so "
                               u"bald wie möglich bei Ihnen."_s;
        QTest::newRow("german letter") << letter << QStringList() << Fields {} << u"German"_s;
        QTest::newRow("under 40 characters")
            << u"Vielen Dank für Ihre Anfrage."_s << QStringList() << Fields {} << QString();
        QTest::newRow("further strings do not count")
            << u"Vielen Dank für Ihre Anfrage."_s << QStringList { u"Wir melden uns so bald wie möglich bei Ihnen."_s }
            << Fields {} << QString();
        QTest::newRow("no text of its own")
            << QString()
            << QStringList { u"Pôr do sol na praia"_s,
                             u"Um vídeo curto de um pôr do sol na praia, com ondas calmas e o céu alaranjado."_s }
            << Fields {} << QString();
        QTest::newRow("the AI's words do not outweigh the text")
            << u"会議メモ 2026年4月3日 参加者：田中、鈴木、佐藤。"
               u"議題：来期の予算と新しいプロジェクトの進め方について話し合いました。次回は来週の月曜日です。"_s
            << QStringList { u"Meeting Memo Budget Planning"_s,
                             u"Notes from a meeting about next year's budget and how the new project should proceed, "
                             u"with the next meeting set for Monday next week."_s,
                             u"meeting"_s,
                             u"budget"_s }
            << Fields {} << u"Japanese"_s;
        QTest::newRow("the AI's language is kept")
            << letter << QStringList() << Fields { { u"language"_s, u"Dutch"_s } } << QString();
        QTest::newRow("an empty language is filled")
            << letter << QStringList() << Fields { { u"language"_s, QString() } } << u"German"_s;
    }

    void language()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, further);
        QFETCH(Fields, existing);
        QFETCH(QString, expected);
        LocalFieldInput input;
        input.mainText = text;
        input.furtherStrings = further;
        input.fileName = u"letter.txt"_s;
        input.existingFields = existing;
        QCOMPARE(LocalFieldDetector::detect(input).value(u"language"_s), expected);
    }
};

QTEST_APPLESS_MAIN(LocalFieldDetectorTest)
#include "localfielddetectortest.moc"
