#pragma once

#include <QByteArray>
#include <QString>

#include "backend/backendprovider.h"

namespace Nomly {

// Why a provider call brought no answer: a reply with a status other than
// 200, no reply within the time-out, or a connection that broke.
struct ProviderFailure
{
    enum class Kind
    {
        Status,
        TimedOut,
        Dropped,
    };

    Kind kind = Kind::Dropped;
    int status = 0;
    // The provider's error body; read for its code words, never logged.
    QByteArray body;

    bool operator==(const ProviderFailure &) const = default;
};

// The text a user reads for a failed call, one of the backend texts the
// application translates, naming the provider where the text has a place
// for it. A spent quota or credit balance reads apart from a rate limit.
QString providerFailureText(BackendProvider provider, const ProviderFailure &failure);

// Whether the provider refused the key itself: 401, 403, or Google's 400
// with the reason of an invalid key.
bool refusesKey(const ProviderFailure &failure);

// A log line without content: the status and the provider's code words.
QString providerFailureSummary(BackendProvider provider, const ProviderFailure &failure);

} // namespace Nomly
