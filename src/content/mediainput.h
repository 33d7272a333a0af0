#pragma once

#include <QDeadlineTimer>
#include <QString>
#include <memory>
#include <optional>
#include <stop_token>

struct AVFormatContext;
struct AVStream;

namespace Nomly {

// A sound or video file opened through FFmpeg with its streams found. Every
// read through it, the opening included, ends when its deadline passes or its
// stop is asked for, so that a damaged, hostile or slow file cannot hold a
// caller longer than it allows. Probing reads a bounded share of the file.
class MediaInput final
{
public:
    // None when the file cannot be opened as media within the bounds.
    static std::optional<MediaInput> open(const QString &path, QDeadlineTimer deadline, std::stop_token stop = {});

    MediaInput(MediaInput &&) noexcept;
    MediaInput &operator=(MediaInput &&) noexcept;
    ~MediaInput();

    AVFormatContext *context() const { return m_context; }

    // Whether the deadline passed or the stop was asked for.
    bool interrupted() const;

    // The length of the whole file, when the container states it.
    std::optional<double> durationSeconds() const;
    // The index of the main video stream (a cover picture is none), -1 when
    // there is none.
    int videoStream() const;
    // The index of the main sound stream, -1 when there is none.
    int audioStream() const;
    // The clockwise turn in degrees (0, 90, 180 or 270) that shows the video
    // stream upright.
    int videoRotation() const;

private:
    struct Interrupt
    {
        QDeadlineTimer deadline;
        std::stop_token stop;
    };

    MediaInput() = default;

    std::unique_ptr<Interrupt> m_interrupt;
    AVFormatContext *m_context = nullptr;
};

// FFmpeg's own messages stay out of the program's log; called before any
// use of the libraries.
void quietFFmpeg();

} // namespace Nomly
