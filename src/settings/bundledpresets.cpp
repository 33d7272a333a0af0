#include "settings/bundledpresets.h"

#include <QSet>
#include <QUuid>
#include <array>

namespace Nomly {

namespace {

struct DemoTemplate
{
    BundledPresetID id;
    const char16_t *name;
    PresetIcon icon;
    PresetColor color;
    const char16_t *namingPattern;
    const char16_t *description;
    std::array<const char16_t *, 6> renamePromptLines;
    const char16_t *tagPrompt;
};

constexpr std::array<DemoTemplate, 11> DemoTemplates { {
    {
        .id = BundledPresetID::Screenshots,
        .name = u"Screenshots",
        .icon = PresetIcon::Photo,
        .color = PresetColor::Purple,
        .namingPattern = u"{created_date}_{title}",
        .description = u"Screenshots get dated, searchable names from visible content",
        .renamePromptLines = { {
            u"Return one compact screenshot name: 3-7 words.",
            u"- Include the app, website, screen, or page name only when it helps identify the screenshot later.",
            u"- Prefer the visible feature, document, error, state, task, or conversation topic.",
            u"- Avoid generic screen names like New Chat, Untitled, Window, Home, or Settings unless they are the "
            u"actual subject.",
            u"- For code/terminal captures, include the visible editor, terminal, or tool plus the language, problem, "
            u"or task when useful.",
            u"- Do not include date, time, file extension, separators, or the words screenshot, screen, image.",
        } },
        .tagPrompt = u"Use 2-4 stable Finder tags: host app/site/tool when identifiable, content role (ui, email, "
                     u"website, code, terminal, error, design, article), and content product/domain when useful. Avoid "
                     u"colors, moods, and generic screenshot/image tags.",
    },
    {
        .id = BundledPresetID::DesignerAssets,
        .name = u"Designer Assets",
        .icon = PresetIcon::Palette,
        .color = PresetColor::Teal,
        .namingPattern = u"{brand}_{campaign}_{asset_type}_{platform}_{variant}",
        .description = u"Exports named by brand, campaign, asset type, platform, and variant",
        .renamePromptLines = { {
            u"Assume this preset is for design exports, mockups, brand assets, and social creative.",
            u"Return the title content only: 2-5 words for the concrete asset or visual subject.",
            u"- Fill requested brand, campaign, asset type, platform, channel, variant, artboard, component, and "
            u"export scale fields separately when visible.",
            u"- Use concrete asset types such as logo, banner, icon, mockup, post, story, ad, thumbnail, or component.",
            u"- Do not invent missing brand, campaign, client, platform, or variant names.",
            u"- Do not repeat filled fields in the title unless needed for clarity.",
        } },
        .tagPrompt = u"Use 2-4 tags for brand, campaign, asset type, platform/channel, and design status when clear. "
                     u"Avoid vague design, image, or color-only tags.",
    },
    {
        .id = BundledPresetID::BookkeeperExpenses,
        .name = u"Bookkeeper Expenses",
        .icon = PresetIcon::Receipt,
        .color = PresetColor::Green,
        .namingPattern = u"{invoice_date}_{vendor}_{total_amount}_{invoice_number}",
        .description = u"Receipts and invoices named by date, vendor, total, and invoice number",
        .renamePromptLines = { {
            u"Assume this preset is for receipts, invoices, bills, and payment confirmations.",
            u"Return the title content only: 2-5 words for the purchase, service, bill, or invoice purpose.",
            u"- Fill requested invoice date, vendor, total amount, invoice number, tax, currency, payment date, and "
            u"payment method fields separately when readable.",
            u"- Keep money amounts and invoice numbers literal; do not round, normalize, or invent them.",
            u"- If the purpose is unclear, use receipt, invoice, bill, subscription, or payment confirmation as the "
            u"title.",
            u"- Do not repeat the date, vendor, total, or invoice number in the title unless needed for clarity.",
        } },
        .tagPrompt = u"Use 2-4 tags for expense category, vendor, document type, and payment status when clear. Avoid "
                     u"amount and color tags.",
    },
    {
        .id = BundledPresetID::PhotographerShoots,
        .name = u"Photographer Shoots",
        .icon = PresetIcon::Camera,
        .color = PresetColor::Orange,
        .namingPattern = u"{capture_date}_{client_name}_{event}_{location}_{subject}",
        .description = u"Client shoots named by capture date, client, event, place, and subject",
        .renamePromptLines = { {
            u"Assume this preset is for client photography shoots, selects, and delivered images.",
            u"Return the title content only: 3-6 natural words for the main subject or scene.",
            u"- Fill requested client name, event, location, subject, and style fields separately when visible from "
            u"the file, folder, or content.",
            u"- Use capture date from metadata when requested; do not invent shoot dates.",
            u"- Describe people generally unless names are visible in the file or folder context.",
            u"- Do not include camera model, lens, extension, separators, or words like photo, image, picture, or shot "
            u"in the title.",
        } },
        .tagPrompt = u"Use 2-4 tags for client, event, location, subject, and shoot type when clear. Avoid generic "
                     u"photo/image tags and color-only tags.",
    },
    {
        .id = BundledPresetID::VideoProduction,
        .name = u"Video Production",
        .icon = PresetIcon::Video,
        .color = PresetColor::Red,
        .namingPattern = u"{recording_date}_{client_name}_{project_name}_{scene}_{resolution}",
        .description = u"Footage and edits named by date, client, project, scene, and resolution",
        .renamePromptLines = { {
            u"Assume this preset is for footage, edits, exports, screen recordings, and client video work.",
            u"Return the title content only: 3-6 words naming the scene, shot, workflow, or edit.",
            u"- Fill requested recording date, client name, project name, scene, app, screen, feature, and platform "
            u"fields separately when visible.",
            u"- Use scene for the visible clip subject, shot, workflow, or edit purpose.",
            u"- Keep technical metadata such as resolution, duration, frame rate, and codec in their own fields.",
            u"- Do not include duration, resolution, date, extension, or the generic word video in the title.",
        } },
        .tagPrompt = u"Use 2-4 tags for video role, client/project, scene, platform, and app/product when visible. "
                     u"Avoid colors and generic video tags.",
    },
    {
        .id = BundledPresetID::MusicTracks,
        .name = u"Music Tracks",
        .icon = PresetIcon::Music,
        .color = PresetColor::Purple,
        .namingPattern = u"{artist}_{track_title}_{release_year}_{genre}_{label}",
        .description = u"Music files named by artist, track, release year, genre, and label",
        .renamePromptLines = { {
            u"Assume this preset is for music tracks, cues, loops, samples, stems, and sound libraries.",
            u"Return the title content only: the exact track, cue, or sample title; use 2-6 descriptive words when no "
            u"exact title is available.",
            u"- Fill requested artist, track title, album, label, release year, genre, music style, audio type, BPM, "
            u"and musical key fields separately when metadata, transcript, filename, or recognition context provides "
            u"them.",
            u"- Prefer embedded metadata or recognized track data over filename guesses; preserve artists, track "
            u"titles, labels, album names, years, BPM, and musical keys exactly when shown.",
            u"- Use audio type for roles such as song, instrumental, jingle, sample, loop, stem, sound effect, "
            u"podcast, interview, or voice memo when clear.",
            u"- Do not invent missing artist, label, year, genre, BPM, key, or release details.",
        } },
        .tagPrompt = u"Use 2-4 tags for artist, genre, audio type, label, mood/style, and production role when clear. "
                     u"Avoid generic audio or music tags unless they distinguish the file.",
    },
    {
        .id = BundledPresetID::ClientMeetingNotes,
        .name = u"Client Meeting Notes",
        .icon = PresetIcon::Work,
        .color = PresetColor::Blue,
        .namingPattern = u"{meeting_date}_{client_name}_{meeting_title}_{project_name}",
        .description = u"Notes and recordings named by meeting date, client, topic, and project",
        .renamePromptLines = { {
            u"Assume this preset is for meeting notes, agendas, transcripts, call recordings, and follow-up docs.",
            u"Return the title content only: 3-6 words for the meeting topic or outcome.",
            u"- Fill requested meeting date, client name, meeting title, project name, sender, recipient, and thread "
            u"fields separately when visible.",
            u"- Prefer the agenda title or call topic over generic words like meeting or notes.",
            u"- Do not invent client, attendee, project, or date values.",
            u"- Do not repeat filled fields in the title unless needed for clarity.",
        } },
        .tagPrompt = u"Use 2-4 tags for client, project, meeting type, department, and follow-up status when clear. "
                     u"Avoid vague work/file tags.",
    },
    {
        .id = BundledPresetID::LegalMatterFiles,
        .name = u"Legal Matter Files",
        .icon = PresetIcon::Legal,
        .color = PresetColor::Gray,
        .namingPattern = u"{case_number}_{filing_date}_{matter_name}_{party_name}",
        .description = u"Case files named by number, filing date, matter, and party",
        .renamePromptLines = { {
            u"Assume this preset is for legal filings, contracts, correspondence, and matter documents.",
            u"Return the title content only: 3-7 words for the document type or legal action.",
            u"- Fill requested case number, filing date, matter name, court, signed date, party name, contract date, "
            u"and document status fields separately when visible.",
            u"- Preserve docket, case, party, and signature values exactly as shown.",
            u"- Do not invent missing case numbers, courts, parties, dates, or legal status.",
            u"- Do not repeat filled fields in the title unless needed for clarity.",
        } },
        .tagPrompt
        = u"Use 2-4 tags for document type, matter, party, court, and status when clear. Avoid vague legal/file tags.",
    },
    {
        .id = BundledPresetID::StoreOrdersShipping,
        .name = u"Store Orders & Shipping",
        .icon = PresetIcon::Shipping,
        .color = PresetColor::Yellow,
        .namingPattern = u"{order_number}_{carrier}_{tracking_number}_{product_variant}",
        .description = u"Orders and parcels named by order, carrier, tracking, and variant",
        .renamePromptLines = { {
            u"Assume this preset is for order confirmations, shipping labels, receipts, returns, and delivery notices.",
            u"Return the title content only: 2-5 words for the product, shipment, return, or delivery purpose.",
            u"- Fill requested order number, tracking number, carrier, SKU, product variant, vendor, and payment "
            u"fields separately when visible.",
            u"- Preserve order, SKU, and tracking values exactly as shown.",
            u"- Do not invent missing carrier, tracking, order, or product values.",
            u"- Do not repeat filled fields in the title unless needed for clarity.",
        } },
        .tagPrompt = u"Use 2-4 tags for order, shipping, return, carrier, vendor, and product category when clear. "
                     u"Avoid amount and color-only tags.",
    },
    {
        .id = BundledPresetID::TravelBookings,
        .name = u"Travel Bookings",
        .icon = PresetIcon::Travel,
        .color = PresetColor::Teal,
        .namingPattern = u"{check_in_date}_{destination}_{hotel}_{booking_reference}",
        .description = u"Flights and hotels named by check-in date, destination, hotel, and booking code",
        .renamePromptLines = { {
            u"Assume this preset is for flights, hotels, events, reservations, and travel confirmations.",
            u"Return the title content only: 2-5 words for the trip, stay, route, or booking purpose.",
            u"- Fill requested booking reference, confirmation number, destination, airline, hotel, check-in date, and "
            u"check-out date fields separately when visible.",
            u"- Preserve booking, confirmation, and reservation codes exactly as shown.",
            u"- Do not invent missing destinations, hotels, airlines, dates, or booking codes.",
            u"- Do not repeat filled fields in the title unless needed for clarity.",
        } },
        .tagPrompt = u"Use 2-4 tags for travel type, destination, airline, hotel, and booking status when clear. Avoid "
                     u"vague travel/file tags.",
    },
    {
        .id = BundledPresetID::ClinicRecords,
        .name = u"Clinic Records",
        .icon = PresetIcon::Health,
        .color = PresetColor::Red,
        .namingPattern = u"{service_date}_{patient_id}_{report_type}_{provider_name}",
        .description = u"Medical files named by service date, patient ID, report type, and provider",
        .renamePromptLines = { {
            u"Assume this preset is for clinic records, lab results, prescriptions, referrals, and insurance "
            u"documents.",
            u"Return the title content only: 2-5 words for the medical document role.",
            u"- Fill requested service date, patient ID, provider name, clinic name, appointment date, report type, "
            u"lab test, result status, and claim number fields separately when visible.",
            u"- Prefer patient ID over patient name for privacy unless a patient name field is explicitly requested.",
            u"- Do not infer diagnoses, results, names, dates, IDs, or providers that are not visible.",
            u"- Do not repeat filled fields in the title unless needed for clarity.",
        } },
        .tagPrompt = u"Use 2-4 tags for report type, clinic/provider, lab test, result status, or claim role when "
                     u"clear. Avoid diagnosis tags unless explicitly visible.",
    },
} };

// What the Screenshots template held before its names started from the
// creation date. The name, icon, colour, tag prompt and common settings were
// the same as now.
constexpr const char16_t *EarlierScreenshotsDescription
    = u"Screenshots become searchable names by app, screen, and visible content";
constexpr const char16_t *EarlierScreenshotsPattern = u"{app_name}_{screen_name}_{title}";
constexpr std::array<const char16_t *, 7> EarlierScreenshotsRenamePromptLines { {
    u"Return the title content only: 2-5 descriptive words for the content, feature, state, or error.",
    u"- Fill requested app and screen naming variables separately when identifiable from window chrome, sidebar, "
    u"toolbar, or layout, even if the app name is not printed as text.",
    u"- If the screenshot shows content from another product inside the host app, keep that content product/topic in "
    u"the title only when useful.",
    u"- Name the mailbox, document, feature, state, or error the user would search for later.",
    u"- Do not repeat the filled app or screen naming fields in the title.",
    u"- For code/terminal captures, start with the visible editor/terminal/tool, then language plus problem or task.",
    u"- Do not include date, time, file extension, separators, or the words screenshot, screen, image.",
} };

template<std::size_t N> QString joinedLines(const std::array<const char16_t *, N> &lines)
{
    QStringList joined;
    for (const char16_t *line : lines)
        joined.append(QString::fromUtf16(line));
    return joined.join(u'\n');
}

// Only the pattern and the two prompts differ between demo templates; the
// separators and the date format are left to the layers below.
AnalysisSettings demoSettings(const QString &namingPattern, const QString &renamePrompt, const QString &tagPrompt)
{
    AnalysisSettings settings;
    settings.namingPattern = namingPattern;
    settings.namingCaseStyle = NamingCaseStyle::Title;
    settings.outputLanguage = QStringLiteral("auto");
    settings.addFinderTags = false;
    settings.addSpotlightMetadata = false;
    settings.renamePromptOverride = renamePrompt;
    settings.tagPromptOverride = tagPrompt;
    return settings;
}

Preset presetFrom(const DemoTemplate &entry)
{
    Preset preset;
    preset.id = QUuid::createUuid();
    preset.name = QString::fromUtf16(entry.name);
    preset.description = QString::fromUtf16(entry.description);
    preset.bundledId = rawValue(entry.id);
    preset.icon = entry.icon;
    preset.color = entry.color;
    preset.settings = demoSettings(QString::fromUtf16(entry.namingPattern),
                                   joinedLines(entry.renamePromptLines),
                                   QString::fromUtf16(entry.tagPrompt));
    preset.createdAt = QDateTime::currentDateTimeUtc();
    return preset;
}

Preset earlierScreenshotsPreset()
{
    Preset preset = bundledPreset(BundledPresetID::Screenshots);
    preset.description = QString::fromUtf16(EarlierScreenshotsDescription);
    preset.settings.namingPattern = QString::fromUtf16(EarlierScreenshotsPattern);
    preset.settings.renamePromptOverride = joinedLines(EarlierScreenshotsRenamePromptLines);
    return preset;
}

// Untouched means equal in everything a user can see or edit in a demo
// template, except the separators, the date format and the pattern blocks,
// which the earlier release never judged by.
bool isUntouched(const Preset &stored, const Preset &original)
{
    const AnalysisSettings &s = stored.settings;
    const AnalysisSettings &o = original.settings;
    return stored.bundledId == original.bundledId && stored.name == original.name
        && stored.description == original.description && stored.icon == original.icon && stored.color == original.color
        && s.namingPattern == o.namingPattern && s.namingCaseStyle == o.namingCaseStyle
        && s.outputLanguage == o.outputLanguage && s.addFinderTags == o.addFinderTags
        && s.addSpotlightMetadata == o.addSpotlightMetadata && s.renamePromptOverride == o.renamePromptOverride
        && s.tagPromptOverride == o.tagPromptOverride;
}

} // namespace

QList<Preset> bundledPresets()
{
    QList<Preset> presets;
    presets.reserve(qsizetype(DemoTemplates.size()));
    for (const DemoTemplate &entry : DemoTemplates)
        presets.append(presetFrom(entry));
    return presets;
}

Preset bundledPreset(BundledPresetID id)
{
    for (const DemoTemplate &entry : DemoTemplates) {
        if (entry.id == id)
            return presetFrom(entry);
    }
    Q_UNREACHABLE();
}

std::optional<Preset> upgradedBundledPreset(const Preset &stored)
{
    if (!isUntouched(stored, earlierScreenshotsPreset()))
        return std::nullopt;
    Preset upgraded = bundledPreset(BundledPresetID::Screenshots);
    upgraded.id = stored.id;
    upgraded.createdAt = stored.createdAt;
    return upgraded;
}

QList<Preset> missingBundledPresets(const QList<Preset> &stored)
{
    QSet<QString> present;
    for (const Preset &preset : stored) {
        if (preset.bundledId)
            present.insert(*preset.bundledId);
    }
    QList<Preset> missing;
    for (const DemoTemplate &entry : DemoTemplates) {
        if (!present.contains(rawValue(entry.id)))
            missing.append(presetFrom(entry));
    }
    return missing;
}

} // namespace Nomly
