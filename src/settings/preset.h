#pragma once

#include <QDateTime>
#include <QString>
#include <QUuid>
#include <optional>

#include "settings/analysissettings.h"

namespace Nomly {

enum class PresetColor
{
    Red,
    Orange,
    Yellow,
    Green,
    Teal,
    Blue,
    Purple,
    Gray,
};

enum class PresetIcon
{
    Document,
    Receipt,
    Photo,
    Video,
    Download,
    Terminal,
    Folder,
    Tag,
    Camera,
    Sparkles,
    Finance,
    Work,
    Screens,
    Code,
    Palette,
    Health,
    Legal,
    Travel,
    Shipping,
    Email,
    AI,
    Calendar,
    Clock,
    Link,
    Chart,
    Lock,
    Key,
    Map,
    Location,
    Book,
    Archive,
    Music,
    Game,
    Cart,
    Home,
    Person,
    Globe,
    Wand,
};

// The stored names, e.g. "purple" and "receipt".
QString rawValue(PresetColor color);
QString rawValue(PresetIcon icon);
std::optional<PresetColor> presetColorFromRaw(const QString &raw);
std::optional<PresetIcon> presetIconFromRaw(const QString &raw);

// A stored template: a named bundle of naming and metadata overrides.
struct Preset
{
    QUuid id;
    QString name;
    QString description;
    std::optional<QString> bundledId; // raw id of a demo template; none for the user's own
    PresetIcon icon = PresetIcon::Document;
    PresetColor color = PresetColor::Blue;
    AnalysisSettings settings;
    QDateTime createdAt;

    bool operator==(const Preset &) const = default;
};

} // namespace Nomly
