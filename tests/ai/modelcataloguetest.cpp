#include <QtTest>

#include "ai/modelcatalogue.h"

using namespace Qt::StringLiterals;

namespace Nomly {

namespace {

// A model list reply of the provider's shape from records written as JSON
// objects.
QByteArray reply(AIProvider provider, const QStringList &records)
{
    const QString key = provider == AIProvider::Gemini ? u"models"_s : u"data"_s;
    return (u"{\"%1\":[%2]}"_s.arg(key, records.join(u','))).toUtf8();
}

} // namespace

class ModelCatalogueTest : public QObject
{
    Q_OBJECT

private slots:

    // Which models of a reply are listed, in which order: ids joined by a
    // blank, or "invalid" for a reply that is no model list.
    void listsAnalysisModels_data()
    {
        QTest::addColumn<AIProvider>("provider");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");

        const auto gemini = [](const QStringList &records) { return reply(AIProvider::Gemini, records); };
        const auto openai = [](const QStringList &records) { return reply(AIProvider::OpenAI, records); };

        QTest::newRow("gemini-prefix-variants-and-words") << AIProvider::Gemini
                                                          << gemini({ u"{\"name\":\"models/gemini-2.5-flash-image\"}"_s,
                                                                      u"{\"name\":\"models/gemini-2.5-flash-001\"}"_s,
                                                                      u"{\"name\":\"models/gemini-2.5-flash\"}"_s,
                                                                      u"{\"name\":\"models/gemini-2.50-pro\"}"_s })
                                                          << u"gemini-2.5-flash gemini-2.5-flash-001"_s;
        QTest::newRow("gemini-needs-generate-content")
            << AIProvider::Gemini
            << gemini(
                   { u"{\"name\":\"models/gemini-2.0-flash\",\"supportedGenerationMethods\":[\"countTokens\"]}"_s,
                     u"{\"name\":\"models/gemini-2.5-pro\",\"supportedGenerationMethods\":[\"generateContent\"]}"_s })
            << u"gemini-2.5-pro"_s;
        QTest::newRow("dates-announced-or-not")
            << AIProvider::Gemini
            << gemini(
                   { u"{\"name\":\"gemini-2.0-flash\",\"shutdownDate\":\"2027-01-01\"}"_s,
                     u"{\"name\":\"gemini-2.5-pro\",\"shutdown_date\":\"No shutdown date announced\"}"_s,
                     u"{\"name\":\"gemini-3.5-flash\",\"retirementDate\":\"null\"}"_s,
                     u"{\"name\":\"gemini-2.5-flash\",\"deprecationDate\":\" \",\"deprecation_date\":\"2026-06\"}"_s })
            << u"gemini-2.5-pro gemini-3.5-flash"_s;
        QTest::newRow("openai-families-natural-order") << AIProvider::OpenAI
                                                       << openai({ u"{\"id\":\"gpt-5.10\"}"_s,
                                                                   u"{\"id\":\"gpt-4.10\"}"_s,
                                                                   u"{\"id\":\"gpt-4.1-mini\"}"_s,
                                                                   u"{\"id\":\"gpt-5.2\"}"_s,
                                                                   u"{\"id\":\"gpt-realtime\"}"_s,
                                                                   u"{\"id\":\"gpt-5-nano\"}"_s,
                                                                   u"{\"id\":\"GPT-4o\"}"_s })
                                                       << u"gpt-4.1-mini GPT-4o gpt-5-nano gpt-5.2 gpt-5.10"_s;
        QTest::newRow("retired-by-flags-and-words")
            << AIProvider::OpenAI
            << openai({ u"{\"id\":\"gpt-5-a\",\"status\":\"Legacy\"}"_s,
                        u"{\"id\":\"gpt-5-b\",\"description\":\"No shutdown planned\"}"_s,
                        u"{\"id\":\"gpt-5-c\",\"active\":false}"_s,
                        u"{\"id\":\"gpt-5-d\",\"active\":true}"_s,
                        u"{\"id\":\"gpt-5-e\",\"is_deprecated\":true}"_s,
                        u"{\"id\":\"gpt-5-f\",\"lifecycle_stage\":\"sunset\"}"_s })
            << u"gpt-5-b gpt-5-d"_s;
        QTest::newRow("id-shape-and-length") << AIProvider::Claude
                                             << reply(AIProvider::Claude,
                                                      { u"{\"id\":\"claude-%1\"}"_s.arg(QString(153, u'x')),
                                                        u"{\"id\":\"claude-%1\"}"_s.arg(QString(154, u'y')),
                                                        u"{\"id\":\"claude opus\"}"_s,
                                                        u"{\"id\":\"  \"}"_s,
                                                        u"{}"_s })
                                             << u"claude-"_s + QString(153, u'x');
        QTest::newRow("groq-allow-list") << AIProvider::Groq
                                         << reply(
                                                AIProvider::Groq,
                                                { u"{\"id\":\"qwen/qwen3.6-27b\"}"_s, u"{\"id\":\"llama-3.3-70b\"}"_s })
                                         << u"qwen/qwen3.6-27b"_s;
        QTest::newRow("no-list-is-empty") << AIProvider::OpenAI << "{}"_ba << QString();
        QTest::newRow("list-not-an-array") << AIProvider::OpenAI << "{\"data\":3}"_ba << u"invalid"_s;
        QTest::newRow("not-json") << AIProvider::Claude << "<html>"_ba << u"invalid"_s;
    }

    void listsAnalysisModels()
    {
        QFETCH(AIProvider, provider);
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);

        const std::optional<QList<ModelOption>> options = ModelCatalogue::modelOptions(provider, body);
        QStringList ids;
        for (const ModelOption &option : options.value_or(QList<ModelOption>()))
            ids.append(option.id);
        QCOMPARE(options ? ids.join(u' ') : u"invalid"_s, expected);
    }

    // The display name is the vendor's, else the id.
    void displayNames()
    {
        const auto options = ModelCatalogue::modelOptions(
            AIProvider::Claude,
            R"({"data":[{"id":"claude-a","display_name":" Claude A "},{"id":"claude-b","display_name":""}]})"_ba);
        QCOMPARE(options.value_or(QList<ModelOption>()),
                 QList<ModelOption>({ { u"claude-a"_s, u"Claude A"_s }, { u"claude-b"_s, u"claude-b"_s } }));
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::ModelCatalogueTest)
#include "modelcataloguetest.moc"
