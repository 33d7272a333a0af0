#pragma once

#include <QString>

#include "naming/rawvalue.h"

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
inline constexpr RawValueTable<ConsentReviewSource, 6> ConsentReviewSourceDiagnosticsWords { {
    { ConsentReviewSource::BatchDrop, u"batch_drop" },
    { ConsentReviewSource::BatchRegenerate, u"batch_regenerate" },
    { ConsentReviewSource::Hotkey, u"hotkey" },
    { ConsentReviewSource::FinderService, u"finder_service" },
    { ConsentReviewSource::DockDrop, u"dock_drop" },
    { ConsentReviewSource::Picker, u"picker" },
} };

inline QString diagnosticsWord(ConsentReviewSource value)
{
    return rawValueIn(ConsentReviewSourceDiagnosticsWords, value);
}

} // namespace Nomly
