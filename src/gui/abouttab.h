#pragma once

#include <QWidget>

namespace Nomly {

// The program's name and version.
class AboutTab final : public QWidget
{
    Q_OBJECT

public:
    explicit AboutTab(QWidget *parent = nullptr);
};

} // namespace Nomly
