#pragma once

#include <QString>
#include <QUrl>

namespace Nomly {

// Whether a request can go to this address: http or https with a host.
inline bool isServerAddress(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty() && (url.scheme() == u"http" || url.scheme() == u"https");
}

inline bool isServerAddress(const QString &text)
{
    return isServerAddress(QUrl(text.trimmed(), QUrl::StrictMode));
}

} // namespace Nomly
