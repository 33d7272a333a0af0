// Recognition of a text's language with the installed fingerprints, and the
// bounds a file's text must meet before it gets a language name.

#include <QTest>
#include <thread>
#include <vector>

#include "content/textlanguage.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

const QString English = u"The committee met on Tuesday morning to review the budget for the coming year. After a long "
                        u"discussion, the members agreed that the library should stay open later in the evening."_s;
const QString German = u"Der Ausschuss traf sich am Dienstagmorgen, um den Haushalt für das kommende Jahr zu prüfen. "
                       u"Nach einer langen Diskussion waren sich die Mitglieder einig, dass die Bibliothek abends "
                       u"länger geöffnet bleiben soll."_s;
const QString French
    = u"Le comité s'est réuni mardi matin pour examiner le budget de l'année prochaine. Après une "
      u"longue discussion, les membres ont convenu que la bibliothèque devait rester ouverte plus tard "
      u"le soir."_s;
const QString Spanish = u"El comité se reunió el martes por la mañana para revisar el presupuesto del próximo año. "
                        u"Después de una larga discusión, los miembros acordaron que la biblioteca debería permanecer "
                        u"abierta hasta más tarde por la noche."_s;
const QString Japanese
    = u"会議メモ 2026年4月3日 参加者：田中、鈴木、佐藤。議題：来期の予算と新しいプロジェクトの進め方について"
      u"話し合いました。次回は来週の月曜日です。"_s;
const QString Russian = u"Комитет собрался во вторник утром, чтобы рассмотреть бюджет на следующий год. После долгого "
                        u"обсуждения члены комитета согласились, что библиотека должна работать вечером дольше."_s;

} // namespace

class TextLanguageTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase()
    {
        if (!TextLanguage::isAvailable())
            QSKIP("the libexttextcat fingerprints are not installed");
    }

    void recognises_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("name");
        QTest::newRow("english") << English << u"en"_s << u"English"_s;
        QTest::newRow("german") << German << u"de"_s << u"German"_s;
        QTest::newRow("french") << French << u"fr"_s << u"French"_s;
        QTest::newRow("spanish") << Spanish << u"es"_s << u"Spanish"_s;
        QTest::newRow("russian") << Russian << u"ru"_s << u"Russian"_s;
        QTest::newRow("japanese") << Japanese << u"ja"_s << u"Japanese"_s;
        QTest::newRow("mostly german, one english sentence")
            << German + u" The end of the minutes."_s << u"de"_s << u"German"_s;
        QTest::newRow("mostly english, a french quote")
            << English + u" As they say, c'est la vie."_s << u"en"_s << u"English"_s;
        QTest::newRow("across lines") << QString(French).replace(u". "_s, u".\n"_s) << u"fr"_s << u"French"_s;
    }

    void recognises()
    {
        QFETCH(QString, text);
        QFETCH(QString, code);
        QFETCH(QString, name);
        const std::optional<LanguageGuess> guess = TextLanguage::dominant(text);
        QVERIFY(guess);
        QCOMPARE(guess->code, code);
        QCOMPARE(guess->name, name);
        QVERIFY2(guess->confidence >= 0.35 && guess->confidence <= 1.0, qPrintable(QString::number(guess->confidence)));
        QCOMPARE(TextLanguage::languageName(text), std::optional<QString>(name));
    }

    void names_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("one word") << u"Hello"_s << QString();
        QTest::newRow("39 characters") << u"The cat sat on the mat in the sun today"_s << QString();
        QTest::newRow("40 characters") << u"The cat sat on the mat in the sun, today"_s << u"English"_s;
        // Characters count, not the three bytes each of these takes.
        QTest::newRow("japanese under 40 characters") << Japanese.left(39) << QString();
        QTest::newRow("short once trimmed")
            << u"   \n\t The cat sat on the mat in the sun today \n\n    "_s << QString();
        QTest::newRow("numbers only") << u"1234 5678 9012 3456 7890 1234 5678 9012 3456 7890 1234"_s << QString();
        QTest::newRow("punctuation only") << u"-- ** == ## -- ** == ## -- ** == ## -- ** == ## -- **"_s << QString();
        QTest::newRow("labels and figures")
            << u"INVOICE\nInvoice No: INV-2041\nInvoice date: 03/04/2026\nSubtotal $1,100.00\nTotal $1,234.56"_s
            << QString();
        // Only the head of a long text is read.
        QTest::newRow("head decides") << QString(German).repeated(20).left(4000) + English.repeated(40) << u"German"_s;
        QTest::newRow("character cut at the end of the head")
            << English.repeated(30).left(3999) + u"😀"_s + German.repeated(30) << u"English"_s;
    }

    void names()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(TextLanguage::languageName(text).value_or(QString()), expected);
    }

    void sameAnswerFromManyThreads()
    {
        const QList<QString> texts { English, German, French, Spanish, Russian };
        const QStringList names { u"English"_s, u"German"_s, u"French"_s, u"Spanish"_s, u"Russian"_s };
        QStringList expected;
        for (int round = 0; round < 10; ++round)
            expected += names;
        std::vector<QStringList> answers(4);
        std::vector<std::thread> threads;
        for (std::size_t t = 0; t < answers.size(); ++t) {
            threads.emplace_back([&, t] {
                for (int round = 0; round < 10; ++round) {
                    for (const QString &text : texts)
                        answers[t].append(TextLanguage::languageName(text).value_or(QString()));
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        for (const QStringList &answer : answers)
            QCOMPARE(answer, expected);
    }
};

QTEST_APPLESS_MAIN(TextLanguageTest)
#include "textlanguagetest.moc"
