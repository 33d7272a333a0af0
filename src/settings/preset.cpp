#include "settings/preset.h"

#include "naming/rawvalue.h"

namespace Nomly {

namespace {

constexpr RawValueTable<PresetColor, 8> PresetColorRawValues { {
    { PresetColor::Red, u"red" },
    { PresetColor::Orange, u"orange" },
    { PresetColor::Yellow, u"yellow" },
    { PresetColor::Green, u"green" },
    { PresetColor::Teal, u"teal" },
    { PresetColor::Blue, u"blue" },
    { PresetColor::Purple, u"purple" },
    { PresetColor::Gray, u"gray" },
} };

constexpr RawValueTable<PresetIcon, 38> PresetIconRawValues { {
    { PresetIcon::Document, u"document" }, { PresetIcon::Receipt, u"receipt" },   { PresetIcon::Photo, u"photo" },
    { PresetIcon::Video, u"video" },       { PresetIcon::Download, u"download" }, { PresetIcon::Terminal, u"terminal" },
    { PresetIcon::Folder, u"folder" },     { PresetIcon::Tag, u"tag" },           { PresetIcon::Camera, u"camera" },
    { PresetIcon::Sparkles, u"sparkles" }, { PresetIcon::Finance, u"finance" },   { PresetIcon::Work, u"work" },
    { PresetIcon::Screens, u"screens" },   { PresetIcon::Code, u"code" },         { PresetIcon::Palette, u"palette" },
    { PresetIcon::Health, u"health" },     { PresetIcon::Legal, u"legal" },       { PresetIcon::Travel, u"travel" },
    { PresetIcon::Shipping, u"shipping" }, { PresetIcon::Email, u"email" },       { PresetIcon::AI, u"ai" },
    { PresetIcon::Calendar, u"calendar" }, { PresetIcon::Clock, u"clock" },       { PresetIcon::Link, u"link" },
    { PresetIcon::Chart, u"chart" },       { PresetIcon::Lock, u"lock" },         { PresetIcon::Key, u"key" },
    { PresetIcon::Map, u"map" },           { PresetIcon::Location, u"location" }, { PresetIcon::Book, u"book" },
    { PresetIcon::Archive, u"archive" },   { PresetIcon::Music, u"music" },       { PresetIcon::Game, u"game" },
    { PresetIcon::Cart, u"cart" },         { PresetIcon::Home, u"home" },         { PresetIcon::Person, u"person" },
    { PresetIcon::Globe, u"globe" },       { PresetIcon::Wand, u"wand" },
} };

} // namespace

QString rawValue(PresetColor color)
{
    return rawValueIn(PresetColorRawValues, color);
}

QString rawValue(PresetIcon icon)
{
    return rawValueIn(PresetIconRawValues, icon);
}

std::optional<PresetColor> presetColorFromRaw(const QString &raw)
{
    return fromRawValueIn(PresetColorRawValues, raw);
}

std::optional<PresetIcon> presetIconFromRaw(const QString &raw)
{
    return fromRawValueIn(PresetIconRawValues, raw);
}

} // namespace Nomly
