#pragma once

#include <QWidget>

namespace Nomly {

// The program's name and version, the libraries it runs on with their
// versions and licences, and the folders where it keeps its data, settings
// and cache, each a click away in the file manager.
class AboutTab final : public QWidget
{
    Q_OBJECT

public:
    explicit AboutTab(QWidget *parent = nullptr);
};

} // namespace Nomly
