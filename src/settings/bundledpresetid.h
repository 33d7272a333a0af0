#pragma once

#include <QString>
#include <QStringView>
#include <optional>

namespace Nomly {

// The demo templates the program ships, in the order they are listed. A
// stored template keeps the raw form in `Preset::bundledId`.
enum class BundledPresetID
{
    Screenshots,
    DesignerAssets,
    BookkeeperExpenses,
    PhotographerShoots,
    VideoProduction,
    MusicTracks,
    ClientMeetingNotes,
    LegalMatterFiles,
    StoreOrdersShipping,
    TravelBookings,
    ClinicRecords,
};

// The stored form, e.g. "designer_assets".
QString rawValue(BundledPresetID id);
std::optional<BundledPresetID> bundledPresetIdFromRaw(QStringView raw);

} // namespace Nomly
