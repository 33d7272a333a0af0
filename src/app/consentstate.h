#pragma once

#include <QObject>
#include <QString>
#include <optional>

#include "platform/result.h"
#include "workflows/consentreviewsource.h"

namespace Nomly {

class SettingsStore;

// What the user has been through and agreed to: the first launch, the
// welcome window and AI data processing. Kept in the user defaults, read at
// start-up and mirrored here, so every workflow asks this object before
// anything leaves the machine. Lives on the main thread.
class ConsentState final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isOnboardingComplete READ isOnboardingComplete NOTIFY isOnboardingCompleteChanged)
    Q_PROPERTY(bool aiDataConsentGranted READ aiDataConsentGranted NOTIFY aiDataConsentGrantedChanged)

public:
    static const QString HasLaunchedBeforeKey;
    static const QString HasAgreedToAIDataProcessingKey;

    explicit ConsentState(SettingsStore &store, QObject *parent = nullptr);

    // Reads the stored choices and marks this launch as seen.
    void load();

    // True when this launch is the profile's first.
    bool isFirstLaunch() const { return m_isFirstLaunch; }

    bool isOnboardingComplete() const { return m_isOnboardingComplete; }

    bool aiDataConsentGranted() const { return m_aiDataConsentGranted; }

    // Fail, and change nothing, when the choice cannot be stored.
    Result<> grantAIDataConsent();
    Result<> withdrawAIDataConsent();
    // Remembers that the user has been through the welcome window, so it is
    // not shown again, and lets the Monitor start.
    void completeOnboarding();

    // A workflow stopped for want of the agreement: remembers why and asks
    // the face to put the question.
    void requestConsentReview(ConsentReviewSource source);
    // The user chose to read the agreement: why it was asked, once.
    std::optional<ConsentReviewSource> confirmConsentReview();

Q_SIGNALS:
    void consentReviewRequested();
    void isOnboardingCompleteChanged();
    void aiDataConsentGrantedChanged();
    // Monitor starts or stops with these choices.
    void watcherReconfigurationRequested();

private:
    Result<> storeConsent(bool granted);

    SettingsStore &m_store;
    bool m_isFirstLaunch = false;
    bool m_isOnboardingComplete = false;
    bool m_aiDataConsentGranted = false;
    std::optional<ConsentReviewSource> m_pendingReviewSource;
};

} // namespace Nomly
