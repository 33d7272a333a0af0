#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>
#include <chrono>

#include "content/localspeechtranscriber.h"
#include "content/mediainput.h"
#include "content/speechrecognizer.h"
#include "samplerecordings.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Nomly {

class LocalSpeechTranscriberTest : public QObject
{
    Q_OBJECT

private:
    // Recordings live here; the temporary directory the code sees is another
    // one, which must be empty after every call.
    QTemporaryDir m_files;
    QTemporaryDir m_temp;
    QByteArray m_oldTemp;

    QString recording(const QString &name, const QString &sentence, const QStringList &ffmpegArguments = {})
    {
        const QString path = m_files.filePath(name);
        if (!QFile::exists(path))
            [&] { QCOMPARE(Test::writeClearSpeech(path, sentence, ffmpegArguments), QString()); }();
        return path;
    }

    static LocalSpeechRequest requestFor(const QString &path, const QString &language)
    {
        LocalSpeechRequest request;
        request.path = path;
        request.filename = QFileInfo(path).fileName();
        request.language = language;
        return request;
    }

    static std::optional<double> lengthOf(const QString &path)
    {
        const auto input = MediaInput::open(path, QDeadlineTimer(10s));
        return input ? input->durationSeconds() : std::nullopt;
    }

private slots:

    void initTestCase()
    {
        if (const QString missing = Test::recordingToolsMissing(); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        if (!SpeechRecognizer::forLocale(u"en_US"_s))
            QSKIP("the English pocketsphinx model is not installed");
        m_oldTemp = qgetenv("TMPDIR");
        qputenv("TMPDIR", QFile::encodeName(m_temp.path()));
    }

    void cleanupTestCase() { qputenv("TMPDIR", m_oldTemp); }

    void cleanup()
    {
        QCOMPARE(QDir(m_temp.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden), QStringList());
    }

    // Whatever the container, the first locale with a model hears the
    // sentence; the block names that locale and says how much was heard.
    void hearsSpeech_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("language");
        QTest::addColumn<bool>("lengthKnown");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("coverage");

        // The whole of a short file is heard: the same time on both sides.
        const QString whole = u"^Transcript coverage: (00:0\\d) of \\1$"_s;
        QTest::newRow("wav-english-us") << u"meeting.wav"_s << u"en-US"_s << true << u"(en_US)"_s << whole;
        QTest::newRow("opus-unknown-language-after-missing-models")
            << u"meeting.opus"_s << u""_s << true << u"(en_US)"_s << whole;
        QTest::newRow("mp3-bare-english-length-unknown")
            << u"meeting.mp3"_s << u"en"_s << false << u"(en)"_s << u"^Transcript:$"_s;
    }

    void hearsSpeech()
    {
        QFETCH(QString, file);
        QFETCH(QString, language);
        QFETCH(bool, lengthKnown);
        QFETCH(QString, source);
        QFETCH(QString, coverage);
        const QString path = recording(file, u"the meeting starts at nine o'clock on monday"_s);
        const auto duration = lengthKnown ? lengthOf(path) : std::nullopt;
        LocalSpeechRequest request = requestFor(path, language);
        request.durationSeconds = duration;
        const LocalSpeechTranscript heard = LocalSpeechTranscriber::transcribe(request);
        QVERIFY2(heard.text, qPrintable(heard.reason));
        // Synthetic speech is heard imperfectly, and a few milliseconds of
        // codec padding change which words; this one comes through.
        QVERIFY2(heard.transcript.contains(u"o'clock"_s), qPrintable(heard.transcript));
        const QStringList lines = heard.text->split(u'\n');
        QCOMPARE(lines.value(1), u"Transcript source: local pocketsphinx on-device recognition "_s + source);
        QVERIFY2(QRegularExpression(coverage).match(lines.value(2)).hasMatch(), qPrintable(lines.value(2)));
        QVERIFY(lines.contains(heard.transcript));
        QVERIFY(heard.reason.isEmpty());
    }

    // Sound longer than the window, or of unknown length, is cut to a WAVE
    // file in a folder of the call's own, which is gone afterwards.
    void cutsLongSound()
    {
        const QString path = recording(
            u"padded.flac"_s, u"the meeting starts at nine o'clock on monday"_s, { u"-af"_s, u"apad=whole_dur=70"_s });
        const auto duration = lengthOf(path);
        QVERIFY(duration && *duration > 69);
        LocalSpeechRequest request = requestFor(path, u"en_US"_s);
        request.durationSeconds = duration;
        const LocalSpeechTranscript heard = LocalSpeechTranscriber::transcribe(request);
        QVERIFY2(heard.text, qPrintable(heard.reason));
        QCOMPARE(heard.text->split(u'\n').value(2), u"Transcript coverage: 00:55 of 01:10 (partial)"_s);
    }

    // Each way of hearing nothing says why, leaves the file as it was and no
    // temporary files behind.
    void refuses_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("language");
        QTest::addColumn<QStringList>("preferred");
        QTest::addColumn<QString>("localeName");
        QTest::addColumn<QString>("reason");

        QTest::newRow("missing-file") << u"missing"_s << u"en"_s << QStringList() << u""_s
                                      << u"unreadable audio file"_s;
        QTest::newRow("folder") << u"folder"_s << u"en"_s << QStringList() << u""_s << u"unreadable audio file"_s;
        QTest::newRow("text-named-wav") << u"text"_s << u"en"_s << QStringList() << u""_s
                                        << u"could not prepare audio segments: "_s;
        QTest::newRow("silence") << u"silence"_s << u"en_US"_s << QStringList() << u""_s
                                 << u"empty speech-to-text result"_s;
        QTest::newRow("only-locales-without-models")
            << u"speech"_s << u"de"_s << QStringList { u"fr"_s } << u"es_ES"_s
            << u"no speech recognizer is installed for locale=de,fr,es_ES,ru_RU,uk_UA"_s;
    }

    void refuses()
    {
        QFETCH(QString, kind);
        QFETCH(QString, language);
        QFETCH(QStringList, preferred);
        QFETCH(QString, localeName);
        QFETCH(QString, reason);
        QString path = m_files.filePath(kind + u".wav"_s);
        if (kind == u"folder")
            QVERIFY(QDir().mkpath(path));
        else if (kind == u"text") {
            QFile text(path);
            QVERIFY(text.open(QIODevice::WriteOnly) && text.write("not a sound at all\n") > 0);
        } else if (kind == u"silence")
            QCOMPARE(Test::writeSilence(path, 8), QString());
        else if (kind == u"speech")
            path = recording(u"meeting.wav"_s, u"the meeting starts at nine o'clock on monday"_s);
        QFile before(path);
        const QByteArray bytes = before.open(QIODevice::ReadOnly) ? before.readAll() : QByteArray();

        LocalSpeechRequest request = requestFor(path, language);
        request.preferredLanguages = preferred;
        request.localeName = localeName;
        const LocalSpeechTranscript heard = LocalSpeechTranscriber::transcribe(request);
        QVERIFY(!heard.text);
        QVERIFY2(heard.reason.startsWith(reason), qPrintable(heard.reason));
        QFile after(path);
        QCOMPARE(after.open(QIODevice::ReadOnly) ? after.readAll() : QByteArray(), bytes);
    }

    // A recogniser out of time ends where it is and keeps what it heard:
    // with a millisecond that is nothing, and the call still returns whole.
    void keepsPartialResultOnTimeOut()
    {
        const QString path = recording(u"meeting.wav"_s, u"the meeting starts at nine o'clock on monday"_s);
        QTest::ignoreMessage(QtInfoMsg, "Local speech recognition transcription timed out after 0.001s");
        LocalSpeechRequest request = requestFor(path, u"en_US"_s);
        request.timeLimit = 1ms;
        const LocalSpeechTranscript heard = LocalSpeechTranscriber::transcribe(request);
        QVERIFY(heard.text || heard.reason == u"empty speech-to-text result"_s);
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::LocalSpeechTranscriberTest)
#include "localspeechtranscribertest.moc"
