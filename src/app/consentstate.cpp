#include "app/consentstate.h"

#include "app/settingsstore.h"
#include "platform/logcategories.h"
#include "platform/userdefaults.h"

namespace Nomly {

const QString ConsentState::HasLaunchedBeforeKey = QStringLiteral("hasLaunchedNomlyBefore");
const QString ConsentState::HasAgreedToAIDataProcessingKey = QStringLiteral("hasAgreedToAIDataProcessing");

ConsentState::ConsentState(SettingsStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
{}

void ConsentState::load()
{
    UserDefaults &defaults = m_store.userDefaults();
    m_isFirstLaunch = !defaults.boolValue(HasLaunchedBeforeKey);
    defaults.setValue(HasLaunchedBeforeKey, true);
    m_isOnboardingComplete = m_store.hasCompletedOnboarding();
    m_aiDataConsentGranted = defaults.boolValue(HasAgreedToAIDataProcessingKey);
    emit isOnboardingCompleteChanged();
    emit aiDataConsentGrantedChanged();
}

Result<> ConsentState::storeConsent(bool granted)
{
    const char *verb = granted ? "granted" : "withdrawn";
    if (Result<> saved = m_store.userDefaults().setValue(HasAgreedToAIDataProcessingKey, granted); !saved) {
        qCCritical(lcGeneral).noquote().nospace() << "AI data processing consent not " << verb << ": " << saved.error();
        return saved;
    }
    if (m_aiDataConsentGranted != granted) {
        m_aiDataConsentGranted = granted;
        emit aiDataConsentGrantedChanged();
    }
    emit watcherReconfigurationRequested();
    qCInfo(lcGeneral) << "AI data processing consent" << verb;
    return {};
}

Result<> ConsentState::grantAIDataConsent()
{
    return storeConsent(true);
}

Result<> ConsentState::withdrawAIDataConsent()
{
    return storeConsent(false);
}

void ConsentState::completeOnboarding()
{
    m_store.setHasCompletedOnboarding(true);
    if (!m_isOnboardingComplete) {
        m_isOnboardingComplete = true;
        emit isOnboardingCompleteChanged();
    }
    emit watcherReconfigurationRequested();
    qCInfo(lcGeneral) << "Onboarding completed";
}

void ConsentState::requestConsentReview(ConsentReviewSource source)
{
    m_pendingReviewSource = source;
    emit consentReviewRequested();
}

std::optional<ConsentReviewSource> ConsentState::confirmConsentReview()
{
    return std::exchange(m_pendingReviewSource, std::nullopt);
}

} // namespace Nomly
