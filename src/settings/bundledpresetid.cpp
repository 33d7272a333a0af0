#include "settings/bundledpresetid.h"

#include "naming/rawvalue.h"

namespace Nomly {

namespace {

constexpr RawValueTable<BundledPresetID, 11> BundledPresetIDRawValues { {
    { BundledPresetID::Screenshots, u"screenshots" },
    { BundledPresetID::DesignerAssets, u"designer_assets" },
    { BundledPresetID::BookkeeperExpenses, u"bookkeeper_expenses" },
    { BundledPresetID::PhotographerShoots, u"photographer_shoots" },
    { BundledPresetID::VideoProduction, u"video_production" },
    { BundledPresetID::MusicTracks, u"music_tracks" },
    { BundledPresetID::ClientMeetingNotes, u"client_meeting_notes" },
    { BundledPresetID::LegalMatterFiles, u"legal_matter_files" },
    { BundledPresetID::StoreOrdersShipping, u"store_orders_shipping" },
    { BundledPresetID::TravelBookings, u"travel_bookings" },
    { BundledPresetID::ClinicRecords, u"clinic_records" },
} };

} // namespace

QString rawValue(BundledPresetID id)
{
    return rawValueIn(BundledPresetIDRawValues, id);
}

std::optional<BundledPresetID> bundledPresetIdFromRaw(QStringView raw)
{
    return fromRawValueIn(BundledPresetIDRawValues, raw);
}

} // namespace Nomly
