// What the core logs on the command line: held while an item is worked on,
// dropped when the command reported the item's failure, printed when it did
// not; everything else passes at once.

#include <QLoggingCategory>
#include <QStringList>
#include <QTest>

#include "cli/corelog.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcCoreUnderTest, "com.nomly.app.Processing", QtInfoMsg)
Q_LOGGING_CATEGORY(lcOtherUnderTest, "qt.text.other", QtInfoMsg)

namespace {

QStringList s_printed;

void capture(QtMsgType, const QMessageLogContext &context, const QString &message)
{
    s_printed.append(QString::fromLatin1(context.category) + u": "_s + message);
}

enum class Level
{
    Info,
    Warning,
    Critical,
};

void log(Level level, const QLoggingCategory &category, const QString &message)
{
    switch (level) {
    case Level::Info:
        qCInfo(category).noquote() << message;
        break;
    case Level::Warning:
        qCWarning(category).noquote() << message;
        break;
    case Level::Critical:
        qCCritical(category).noquote() << message;
        break;
    }
}

} // namespace

Q_DECLARE_METATYPE(Level)

class CoreLogTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void init() { s_printed.clear(); }

    void heldWhileAnItemIsWorkedOn_data();
    void heldWhileAnItemIsWorkedOn();
    void afterTheReportLinesPass();
};

void CoreLogTest::initTestCase()
{
    qunsetenv("QT_LOGGING_RULES");
    qInstallMessageHandler(&capture);
    CoreLog::install();
}

void CoreLogTest::heldWhileAnItemIsWorkedOn_data()
{
    QTest::addColumn<bool>("inItem");
    QTest::addColumn<Level>("level");
    QTest::addColumn<bool>("fromCore");
    QTest::addColumn<bool>("failureReported");
    QTest::addColumn<bool>("shownAtOnce");
    QTest::addColumn<bool>("shownAtEnd");

    QTest::newRow("outside-an-item-at-once") << false << Level::Critical << true << false << true << true;
    QTest::newRow("reported-failure-dropped") << true << Level::Critical << true << true << false << false;
    QTest::newRow("warning-dropped-too") << true << Level::Warning << true << true << false << false;
    QTest::newRow("item-that-succeeded-shown-after") << true << Level::Critical << true << false << false << true;
    QTest::newRow("info-not-held") << true << Level::Info << true << true << true << true;
    QTest::newRow("other-category-not-held") << true << Level::Warning << false << true << true << true;
}

void CoreLogTest::heldWhileAnItemIsWorkedOn()
{
    QFETCH(bool, inItem);
    QFETCH(Level, level);
    QFETCH(bool, fromCore);
    QFETCH(bool, failureReported);
    QFETCH(bool, shownAtOnce);
    QFETCH(bool, shownAtEnd);

    const QString line = u"Error processing file: a.txt"_s;
    const QLoggingCategory &category = fromCore ? lcCoreUnderTest() : lcOtherUnderTest();
    const QString printed = QString::fromLatin1(category.categoryName()) + u": "_s + line;
    {
        std::optional<CoreLog::Held> held;
        if (inItem)
            held.emplace();
        log(level, category, line);
        QCOMPARE(s_printed.contains(printed), shownAtOnce);
        if (held && failureReported)
            held->failureReported();
    }
    QCOMPARE(s_printed, shownAtEnd ? QStringList { printed } : QStringList());
}

// Once the command printed the failure, later lines belong to no item.
void CoreLogTest::afterTheReportLinesPass()
{
    {
        CoreLog::Held held;
        qCCritical(lcCoreUnderTest) << "first";
        held.failureReported();
        qCCritical(lcCoreUnderTest) << "second";
        QCOMPARE(s_printed.size(), 1);
    }
    QCOMPARE(s_printed.size(), 1);
    QVERIFY(s_printed.first().endsWith(u"second"_s));
}

QTEST_GUILESS_MAIN(CoreLogTest)
#include "corelogtest.moc"
