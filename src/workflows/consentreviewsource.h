#pragma once

#include <QString>

namespace Nomly {

// Why a workflow stopped to ask for the agreement to AI processing.
enum class ConsentReviewSource
{
    BatchDrop,
    BatchRegenerate,
    Hotkey,
    FinderService,
    DockDrop,
    Picker,
};

// The reason as diagnostics name it.
inline QString diagnosticsWord(ConsentReviewSource source)
{
    switch (source) {
    case ConsentReviewSource::BatchDrop:
        return QStringLiteral("batch_drop");
    case ConsentReviewSource::BatchRegenerate:
        return QStringLiteral("batch_regenerate");
    case ConsentReviewSource::Hotkey:
        return QStringLiteral("hotkey");
    case ConsentReviewSource::FinderService:
        return QStringLiteral("finder_service");
    case ConsentReviewSource::DockDrop:
        return QStringLiteral("dock_drop");
    case ConsentReviewSource::Picker:
        return QStringLiteral("picker");
    }
    return QStringLiteral("unknown");
}

} // namespace Nomly
