#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswscale/swscale.h>
}

namespace Nomly {

// Owners of the FFmpeg objects a decoding loop holds, freed on every way out.
struct CodecContextDeleter
{
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
};

struct AVFrameDeleter
{
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};

struct AVPacketDeleter
{
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};

struct ScalerDeleter
{
    void operator()(SwsContext *context) const { sws_freeContext(context); }
};

using CodecContextPointer = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using FramePointer = std::unique_ptr<AVFrame, AVFrameDeleter>;
using PacketPointer = std::unique_ptr<AVPacket, AVPacketDeleter>;
using ScalerPointer = std::unique_ptr<SwsContext, ScalerDeleter>;

} // namespace Nomly
