#include "history/filetypegroup.h"

#include <algorithm>
#include <array>
#include <span>

namespace Nomly {

namespace {

constexpr std::array<QStringView, 41> Images {
    u"png",  u"jpg",   u"jpeg", u"jpe", u"webp", u"avif", u"gif", u"bmp", u"dib", u"tiff", u"tif",
    u"heic", u"heics", u"heif", u"svg", u"pdf",  u"jp2",  u"jpf", u"jpx", u"j2k", u"j2c",  u"exr",
    u"tga",  u"ico",   u"icns", u"pbm", u"pgm",  u"ppm",  u"pfm", u"cr2", u"cr3", u"nef",  u"arw",
    u"dng",  u"orf",   u"raf",  u"rw2", u"pef",  u"srw",  u"sr2", u"raw",
};
constexpr std::array<QStringView, 4> Designs { u"sketch", u"fig", u"ai", u"psd" };
constexpr std::array<QStringView, 36> Documents {
    u"txt", u"md",   u"json", u"eml",  u"csv",   u"tsv",     u"log",  u"xml", u"yaml", u"yml",  u"srt",  u"vtt",
    u"rtf", u"odt",  u"ods",  u"odp",  u"pages", u"numbers", u"key",  u"doc", u"docx", u"docm", u"dotx", u"dotm",
    u"ppt", u"pptx", u"pptm", u"potx", u"potm",  u"ppsx",    u"ppsm", u"xls", u"xlsx", u"xlsm", u"xltx", u"xltm",
};
constexpr std::array<QStringView, 16> Videos {
    u"mp4",  u"mov", u"qt",   u"m4v", u"mpeg", u"mpg", u"m2v",  u"3gp",
    u"3gpp", u"3g2", u"3gp2", u"dv",  u"ts",   u"mts", u"m2ts", u"vob",
};
constexpr std::array<QStringView, 7> Audio { u"mp3", u"m4a", u"wav", u"flac", u"ogg", u"webm", u"mpga" };

struct GroupedExtensions
{
    FileTypeGroup group;
    std::span<const QStringView> extensions;
};

constexpr std::array<GroupedExtensions, 5> Table { {
    { FileTypeGroup::Image, Images },
    { FileTypeGroup::Design, Designs },
    { FileTypeGroup::Document, Documents },
    { FileTypeGroup::Video, Videos },
    { FileTypeGroup::Audio, Audio },
} };

} // namespace

std::optional<FileTypeGroup> fileTypeGroupOf(QStringView extension)
{
    for (const GroupedExtensions &row : Table) {
        if (std::find(row.extensions.begin(), row.extensions.end(), extension) != row.extensions.end())
            return row.group;
    }
    return std::nullopt;
}

} // namespace Nomly
