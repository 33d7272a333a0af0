#include <QTest>

#include "settings/modelnormalization.h"

using namespace Nomly;

using OptionalText = std::optional<QString>;

Q_DECLARE_METATYPE(OptionalText)
Q_DECLARE_METATYPE(Nomly::AIProvider)

namespace {

QString shown(const OptionalText &text)
{
    return text ? u'"' + *text + u'"' : QStringLiteral("<none>");
}

} // namespace

class ModelNormalizationTest : public QObject
{
    Q_OBJECT

private slots:
    void normalize_data();
    void normalize();
};

void ModelNormalizationTest::normalize_data()
{
    QTest::addColumn<OptionalText>("model");
    QTest::addColumn<AIProvider>("provider");
    QTest::addColumn<OptionalText>("expected");

    const OptionalText none;
    const QString groqModel = QStringLiteral("qwen/qwen3.6-27b");
    QTest::newRow("absent-stays-absent") << none << AIProvider::OpenAI << none;
    QTest::newRow("blank-is-absent") << OptionalText(QStringLiteral(" \n\t")) << AIProvider::Claude << none;
    QTest::newRow("trimmed-for-others") << OptionalText(QStringLiteral("  gpt-4.1-mini\n")) << AIProvider::OpenAI
                                        << OptionalText(QStringLiteral("gpt-4.1-mini"));
    QTest::newRow("case-kept-for-others") << OptionalText(QStringLiteral("Gemini-Pro")) << AIProvider::Gemini
                                          << OptionalText(QStringLiteral("Gemini-Pro"));
    QTest::newRow("groq-model-exact") << OptionalText(groqModel) << AIProvider::Groq << OptionalText(groqModel);
    QTest::newRow("groq-model-respelled")
        << OptionalText(QStringLiteral(" Qwen/QWEN3.6-27B ")) << AIProvider::Groq << OptionalText(groqModel);
    QTest::newRow("other-groq-model-dropped")
        << OptionalText(QStringLiteral("llama-3.3-70b-versatile")) << AIProvider::Groq << none;
    QTest::newRow("groq-id-elsewhere-kept") << OptionalText(QStringLiteral("QWEN/qwen3.6-27b")) << AIProvider::OpenAI
                                            << OptionalText(QStringLiteral("QWEN/qwen3.6-27b"));
}

void ModelNormalizationTest::normalize()
{
    QFETCH(OptionalText, model);
    QFETCH(AIProvider, provider);
    QFETCH(OptionalText, expected);

    QCOMPARE(shown(normalizedModelId(model, provider)), shown(expected));
}

QTEST_GUILESS_MAIN(ModelNormalizationTest)

#include "modelnormalizationtest.moc"
