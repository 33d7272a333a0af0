// When the settings hold key checks back after a provider's rate limit, and
// what the countdown says.

#include <QTest>

#include "app/keycheckcooldown.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace std::chrono_literals;

class KeyCheckCooldownTest : public QObject
{
    Q_OBJECT

private slots:

    void rateLimitWords_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<bool>("limited");
        QTest::newRow("status") << u"OpenAI returned status 429"_s << true;
        QTest::newRow("words, any case") << u"Too Many Requests"_s << true;
        QTest::newRow("wait") << u"Please wait before trying again."_s << true;
        QTest::newRow("rejected key") << u"OpenAI rejected the API key (401)"_s << false;
        QTest::newRow("unavailable") << u"Groq is temporarily unavailable (503)"_s << false;
    }

    void rateLimitWords()
    {
        QFETCH(QString, description);
        QFETCH(bool, limited);
        QCOMPARE(KeyCheckCooldown::saysRateLimited(description), limited);
    }

    void countsDownInWholeSeconds()
    {
        const KeyCheckCooldown::Clock::time_point start {};
        KeyCheckCooldown cooldown;
        QVERIFY(!cooldown.refusal(start));
        cooldown.start(start);
        QCOMPARE(cooldown.refusal(start),
                 u"Too many Cloud AI key checks too quickly. Please wait 30s before trying again."_s);
        // A part of a second still counts as one to wait.
        QCOMPARE(cooldown.remainingSeconds(start + 29s + 1ms), 1);
        QVERIFY(cooldown.isActive(start + 29s + 999ms));
        QVERIFY(!cooldown.isActive(start + 30s));
        QVERIFY(!cooldown.refusal(start + 31s));
    }
};

QTEST_GUILESS_MAIN(KeyCheckCooldownTest)
#include "keycheckcooldowntest.moc"
