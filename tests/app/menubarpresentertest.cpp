#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

#include "app/menubarpresenter.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(Nomly::MenuBarFacts)
Q_DECLARE_METATYPE(Nomly::MenuBarPresentationState)

namespace Nomly {

class MenuBarPresenterTest final : public QObject
{
    Q_OBJECT

private slots:

    void stateFromFacts_data()
    {
        QTest::addColumn<MenuBarFacts>("facts");
        QTest::addColumn<bool>("success");
        QTest::addColumn<MenuBarPresentationState>("expected");

        const MenuBarFacts ready { true, AIProcessingMode::Cloud, true, false, true, 0, false, false };
        const MenuBarPresentationState standard {
            MenuBarDisplayMode::Standard, MenuBarIconMode::Standard, false, false, true, {}
        };
        MenuBarFacts setup = ready;
        setup.isOnboardingComplete = false;
        QTest::newRow("onboarding not finished")
            << setup << false << MenuBarPresentationState { MenuBarDisplayMode::SetupRequired,
                                                            MenuBarIconMode::Standard,
                                                            false,
                                                            false,
                                                            true,
                                                            u"Finish Setup..."_s };
        MenuBarFacts offline = ready;
        offline.isConnected = false;
        MenuBarPresentationState offlineState = standard;
        offlineState.isOffline = true;
        QTest::newRow("cloud without network") << offline << false << offlineState;
        offline.aiProcessingMode = AIProcessingMode::Local;
        QTest::newRow("local model without network") << offline << false << standard;
        MenuBarFacts pausedAndBatch = ready;
        pausedAndBatch.isPaused = true;
        pausedAndBatch.isBatchWorking = true;
        MenuBarPresentationState pausedProcessing = standard;
        pausedProcessing.isPaused = true;
        pausedProcessing.iconMode = MenuBarIconMode::Processing;
        QTest::newRow("paused while a batch runs") << pausedAndBatch << false << pausedProcessing;
        MenuBarFacts queued = ready;
        queued.monitorQueueCount = 2;
        MenuBarPresentationState processing = standard;
        processing.iconMode = MenuBarIconMode::Processing;
        QTest::newRow("monitor queue") << queued << false << processing;
        MenuBarFacts hotkey = ready;
        hotkey.isHotkeyProcessing = true;
        QTest::newRow("quick rename") << hotkey << false << processing;
        MenuBarPresentationState success = standard;
        success.iconMode = MenuBarIconMode::Success;
        QTest::newRow("success over work") << queued << true << success;
        MenuBarFacts elsewhere = ready;
        elsewhere.monitorRunsHere = false;
        MenuBarPresentationState noPause = standard;
        noPause.canPause = false;
        QTest::newRow("monitor in another process") << elsewhere << false << noPause;
    }

    void stateFromFacts()
    {
        QFETCH(MenuBarFacts, facts);
        QFETCH(bool, success);
        QFETCH(MenuBarPresentationState, expected);
        QCOMPARE(facts.presentation(success), expected);
    }

    // Snapshots that show nothing new are not passed on.
    void onlyRealChangesArePassedOn()
    {
        MenuBarFacts facts { true, AIProcessingMode::Cloud, true, false, true, 0, false, false };
        MenuBarPresenter presenter([&] { return facts; });
        QSignalSpy changes(&presenter, &MenuBarPresenter::stateChanged);
        presenter.refresh();
        facts.monitorQueueCount = 3;
        presenter.refresh();
        facts.monitorQueueCount = 1;
        presenter.refresh();
        QCOMPARE(changes.size(), 1);
        QCOMPARE(presenter.state().iconMode, MenuBarIconMode::Processing);
    }

    // The mark holds for its moment from the last success, then gives way to
    // the work that still runs.
    void successHoldsFromTheLastSuccess()
    {
        constexpr auto moment = 400ms;
        MenuBarFacts facts { true, AIProcessingMode::Cloud, true, false, true, 1, false, false };
        MenuBarPresenter presenter([&] { return facts; }, moment);
        QElapsedTimer clock;
        clock.start();
        presenter.showSuccess();
        QCOMPARE(presenter.state().iconMode, MenuBarIconMode::Success);
        QTest::qWait(200);
        presenter.showSuccess();
        QTRY_COMPARE_WITH_TIMEOUT(presenter.state().iconMode, MenuBarIconMode::Processing, 2000);
        QVERIFY(clock.elapsed() >= 200 + moment.count());
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::MenuBarPresenterTest)
#include "menubarpresentertest.moc"
