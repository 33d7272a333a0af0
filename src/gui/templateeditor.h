#pragma once

#include <QDateTime>
#include <QWidget>
#include <functional>

#include "settings/preset.h"
#include "settings/settings.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace Nomly {

class PatternBlockEditor;

// Edits one template: its name, description, naming pattern and formatting,
// with the name a sample file of the template's kind would get, redrawn at
// each change. Nothing is stored until saveRequested() is answered.
class TemplateEditor final : public QWidget
{
    Q_OBJECT

public:
    explicit TemplateEditor(QWidget *parent = nullptr);

    // `global` supplies what the template leaves to the global settings.
    void setPreset(const Preset &preset, const Settings &global);

    // The template with the edits made so far.
    Preset editedPreset() const;
    // Whether the fields differ from the template as it was shown.
    bool hasChanges() const;

    PatternBlockEditor *patternEditor() const { return m_pattern; }

    // The file name of the sample as the edited template names it.
    QString previewName() const;

    // The moment dates in the preview show; the current time by default.
    void setClock(std::function<QDateTime()> clock);

Q_SIGNALS:
    void saveRequested();

private:
    void updatePreview();
    void markNamingTouched();

    Preset m_preset;
    Settings m_global;
    bool m_namingTouched = false;
    std::function<QDateTime()> m_clock;
    QLineEdit *m_name = nullptr;
    QLineEdit *m_description = nullptr;
    PatternBlockEditor *m_pattern = nullptr;
    QComboBox *m_caseStyle = nullptr;
    QComboBox *m_wordSeparator = nullptr;
    QLineEdit *m_dateFormat = nullptr;
    QLabel *m_preview = nullptr;
    QPushButton *m_save = nullptr;
};

} // namespace Nomly
