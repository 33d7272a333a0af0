// Random stored records thrown at the settings decoders. A decode either
// fails with a message or gives a record that survives being stored and read
// again unchanged; nothing crashes.

#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QTest>

#include "settings/analysissettingsjson.h"
#include "settings/settingsjson.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

namespace {

constexpr int IterationsPerSeed = 500;

class JsonFuzzer
{
public:
    explicit JsonFuzzer(quint32 seed)
        : m_random(seed)
    {}

    // Keys of the stored form and of earlier versions. Most values keep the
    // type the key is written with, so that many records decode; the rest are
    // of any type.
    QJsonObject record()
    {
        static const QJsonObject written = [] {
            Settings full;
            full.watchedFolders = { u"/home/u/Downloads"_s };
            full.namingPatternBlocks = QList<NamingPatternBlock> {
                { NamingPatternBlock::Kind::Variable, u"{title}"_s, NamingPatternSeparator::Underscore },
            };
            full.monitorFileExtensions = QStringList { u"pdf"_s };
            full.hotkeyShortcut = KeyboardShortcut {};
            full.renamePromptOverride = full.tagPromptOverride = u"x"_s;
            QJsonObject json = toJson(full);
            json.insert(u"namingSeparator"_s, u"_"_s);
            json.insert(u"addMetadataTags"_s, true);
            json.insert(u"geminiApiKey"_s, u"key"_s);
            return json;
        }();
        QJsonObject json;
        for (auto it = written.begin(); it != written.end(); ++it) {
            if (below(4) == 0)
                json.insert(it.key(), below(20) == 0 ? value(2) : like(it.value()));
        }
        return json;
    }

private:
    int below(int bound) { return static_cast<int>(m_random.bounded(bound)); }

    QString text()
    {
        static const QStringList plausible
            = u"snake|kebab|title|_|-|.| ||none|space|{date}_{title}|{Title_Name} {year}|auto|de|dark|"
              u"ollama|hosted|byok|local|gemini|openai|llama-3.3-70b-versatile|pdf|.JPG|variable|literal|"
              u"{|}|\u0000|\u202e"_s.split(u'|');
        if (below(4) != 0)
            return plausible.at(below(static_cast<int>(plausible.size())));
        QString random;
        for (int i = below(12); i > 0; --i)
            random += QChar(static_cast<char16_t>(1 + below(0xd7ff)));
        return random;
    }

    // A value of the same JSON type as `model`; half the strings stay as they
    // are, since most of them must be one of a few names to decode.
    QJsonValue like(const QJsonValue &model)
    {
        switch (model.type()) {
        case QJsonValue::Bool:
            return below(2) == 0;
        case QJsonValue::String:
            return below(2) == 0 ? model : QJsonValue(text());
        case QJsonValue::Array: {
            QJsonArray array;
            for (int i = below(4); i > 0; --i)
                array.append(model.toArray().isEmpty() || below(8) == 0 ? value(1) : like(model.toArray().at(0)));
            return array;
        }
        case QJsonValue::Object: {
            QJsonObject object = model.toObject();
            for (auto it = object.begin(); it != object.end(); ++it) {
                if (below(4) == 0)
                    *it = below(8) == 0 ? value(0) : like(*it);
            }
            return object;
        }
        default:
            return value(2);
        }
    }

    QJsonValue value(int depth)
    {
        switch (below(depth > 0 ? 8 : 5)) {
        case 0:
            return QJsonValue::Null;
        case 1:
            return below(2) == 0;
        case 2:
            return below(2) == 0 ? QJsonValue(below(100) - 10) : QJsonValue(1e300);
        case 3:
        case 4:
            return text();
        case 5: {
            QJsonArray array;
            for (int i = below(4); i > 0; --i)
                array.append(value(depth - 1));
            return array;
        }
        default: {
            static const QStringList fields
                = u"kind|value|separatorBefore|keyCode|modifiers|key|characters"_s.split(u'|');
            QJsonObject object;
            for (const QString &field : fields) {
                if (below(2) == 0)
                    object.insert(field, value(depth - 1));
            }
            return object;
        }
        }
    }

    QRandomGenerator m_random;
};

} // namespace

class DecoderFuzzTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase_data()
    {
        QTest::addColumn<quint32>("seed");
        for (const quint32 seed : { 1u, 7u, 20261123u })
            QTest::newRow(qPrintable(u"seed-"_s + QString::number(seed))) << seed;
    }

    void settingsSurviveStorage()
    {
        QFETCH_GLOBAL(quint32, seed);
        JsonFuzzer fuzzer(seed);
        int decoded = 0;
        for (int i = 0; i < IterationsPerSeed; ++i) {
            const QJsonObject record = fuzzer.record();
            QString error;
            const auto settings = settingsFromJson(record, &error);
            if (!settings) {
                QVERIFY2(!error.isEmpty(), "a refused record says why");
                continue;
            }
            ++decoded;
            const QJsonObject stored = QJsonDocument::fromJson(settingsToJsonBytes(*settings)).object();
            const auto reread = settingsFromJson(stored, &error);
            QVERIFY2(reread && *reread == *settings, QJsonDocument(record).toJson().constData());
        }
        QVERIFY2(decoded > IterationsPerSeed / 20, "too few records decode to test the round trip");
    }

    void analysisSettingsSurviveStorage()
    {
        QFETCH_GLOBAL(quint32, seed);
        JsonFuzzer fuzzer(seed);
        for (int i = 0; i < IterationsPerSeed; ++i) {
            const QJsonObject record = fuzzer.record();
            QString error;
            const auto settings = analysisSettingsFromJson(record, &error);
            if (!settings) {
                QVERIFY2(!error.isEmpty(), "a refused record says why");
                continue;
            }
            const auto reread = analysisSettingsFromJson(toJson(*settings), &error);
            QVERIFY2(reread && *reread == *settings, QJsonDocument(record).toJson().constData());
        }
    }
};

QTEST_GUILESS_MAIN(DecoderFuzzTest)

#include "decoderfuzztest.moc"
