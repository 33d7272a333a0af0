// The route a batch asks for: the user's own provider only with a key saved
// for it, so that a provider never chosen is never asked for its key.

#include <QTest>

#include "workflows/batchoptions.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

class BatchOptionsTest : public QObject
{
    Q_OBJECT

private slots:

    void ownProviderNeedsItsKey_data()
    {
        QTest::addColumn<bool>("byokEnabled");
        QTest::addColumn<bool>("openaiKeySaved");
        QTest::addColumn<bool>("geminiKeySaved");
        QTest::addColumn<bool>("providerSent");

        QTest::newRow("own-key-saved") << true << true << false << true;
        QTest::newRow("own-key-missing") << true << false << false << false;
        QTest::newRow("key-saved-for-another-provider") << true << false << true << false;
        QTest::newRow("own-key-off") << false << true << false << false;
    }

    void ownProviderNeedsItsKey()
    {
        QFETCH(bool, byokEnabled);
        QFETCH(bool, openaiKeySaved);
        QFETCH(bool, geminiKeySaved);
        QFETCH(bool, providerSent);

        Settings settings;
        settings.aiProvider = AIProvider::OpenAI;
        settings.byokEnabled = byokEnabled;
        settings.hasOpenaiApiKey = openaiKeySaved;
        settings.hasGeminiApiKey = geminiKeySaved;
        settings.byokOpenaiModel = u"gpt-4.1-mini"_s;

        const AnalyzeBatchOptions options
            = batchOptionsFor(settings, resolveEffectiveAnalysisSettings(settings, {}, {}));
        QCOMPARE(options.aiProvider.has_value(), providerSent);
        QCOMPARE(options.byokModel.has_value(), providerSent);
        if (providerSent)
            QCOMPARE(*options.aiProvider, AIProvider::OpenAI);
    }
};

QTEST_GUILESS_MAIN(BatchOptionsTest)
#include "batchoptionstest.moc"
