#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTest>

#include "app/uistatemirror.h"
#include "platform/diagnostics.h"

using namespace Qt::StringLiterals;

namespace Nomly {

class UIStateMirrorTest final : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase() { QLoggingCategory::setFilterRules(u"com.nomly.app.*=false"_s); }

    // Only changes that explain what came after leave a breadcrumb.
    void breadcrumbsTellTheStory()
    {
        QTemporaryDir directory;
        Diagnostics diagnostics(directory.path());
        UIStateMirror mirror(diagnostics);
        DiagnosticsUIState state { u"ai_rename"_s, false, false, false, 0, 0 };
        mirror.observe(state);
        mirror.observe(state);
        state.batchItemCount = 3;
        mirror.observe(state);
        state.isProcessing = true;
        mirror.observe(state);
        state.selectedTab = u"activity"_s;
        mirror.observe(state);
        state.isProcessing = false;
        mirror.observe(state);

        QStringList names;
        const QList<DiagnosticsEntry> entries = Diagnostics::readEntries(directory.path());
        for (const DiagnosticsEntry &entry : entries)
            names.append(entry.name);
        QCOMPARE(names,
                 (QStringList {
                     u"initialized"_s, u"active_work_started"_s, u"selected_tab_changed"_s, u"active_work_ended"_s }));
        QCOMPARE(entries[2].category, u"ui.navigation"_s);
        QCOMPARE(entries[2].parameters.value(u"from_tab"_s), u"ai_rename"_s);
        QCOMPARE(entries[2].parameters.value(u"to_tab"_s), u"activity"_s);
        QCOMPARE(entries[1].parameters.value(u"batch_item_count"_s), u"3"_s);
    }
};

} // namespace Nomly

QTEST_GUILESS_MAIN(Nomly::UIStateMirrorTest)
#include "uistatemirrortest.moc"
