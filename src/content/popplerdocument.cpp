#include "content/popplerdocument.h"

namespace Nomly {

std::unique_ptr<Poppler::Document> openPdf(const QString &path)
{
    static const bool silenced = [] {
        Poppler::setDebugErrorFunction([](const QString &, const QVariant &) {}, QVariant());
        return true;
    }();
    Q_UNUSED(silenced);
    return Poppler::Document::load(path);
}

} // namespace Nomly
