#pragma once

#include <QDateTime>
#include <QWidget>
#include <functional>

#include "settings/settings.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

namespace Nomly {

class PatternBlockEditor;
class SettingsViewModel;

// Every global setting a user changes by hand: how names are made (the
// pattern as chips, the title style, separators, date format, with a live
// preview), what is written to files besides the name, the language of the
// answers, appearance and interface language, and start at login. Each
// change is saved at once and reaches every face: quick rename, Monitor in
// folders without a template, and `nomly preview` and `nomly rename`.
class GeneralTab final : public QWidget
{
    Q_OBJECT

public:
    explicit GeneralTab(SettingsViewModel &model, QWidget *parent = nullptr);

    // The time dates in the preview are rendered at; tests fix it.
    void setClock(std::function<QDateTime()> clock);

    PatternBlockEditor *patternEditor() const { return m_pattern; }

    QString previewName() const;

Q_SIGNALS:
    // A change was refused (the database, the autostart folder), with why.
    void saveFailed(const QString &message);

private:
    void load(const Settings &settings);
    void save(const std::function<void(Settings &)> &change);
    void saveNaming();
    void updatePreview();
    void setStartAtLogin(bool enabled);

    SettingsViewModel &m_model;
    std::function<QDateTime()> m_clock;
    bool m_loading = false;
    PatternBlockEditor *m_pattern = nullptr;
    QComboBox *m_caseStyle = nullptr;
    QComboBox *m_wordSeparator = nullptr;
    QComboBox *m_blockSeparator = nullptr;
    QLineEdit *m_dateFormat = nullptr;
    QLabel *m_preview = nullptr;
    QCheckBox *m_writeTags = nullptr;
    QCheckBox *m_writeComment = nullptr;
    QComboBox *m_outputLanguage = nullptr;
    QComboBox *m_appearance = nullptr;
    QComboBox *m_interfaceLanguage = nullptr;
    QCheckBox *m_startAtLogin = nullptr;
    QCheckBox *m_showInTaskBar = nullptr;
    QCheckBox *m_sounds = nullptr;
};

} // namespace Nomly
