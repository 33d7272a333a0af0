#include "gui/welcomewindow.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "app/consentstate.h"
#include "app/folderclassification.h"
#include "app/settingsviewmodel.h"
#include "app/watchedfolders.h"
#include "gui/consentview.h"
#include "gui/presentation.h"
#include "gui/trayicons.h"

namespace Nomly {

namespace {

QLabel *heading(const QString &text, QWidget *parent, qreal scale = 1.4)
{
    auto *label = new QLabel(text, parent);
    label->setFont(headingFont(label->font(), scale));
    label->setWordWrap(true);
    return label;
}

QLabel *paragraph(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setWordWrap(true);
    return label;
}

QPushButton *button(const QString &text, const QString &name, QWidget *parent)
{
    auto *button = new QPushButton(text, parent);
    button->setObjectName(name);
    return button;
}

// A page's own buttons at its foot, the way on rightmost.
QHBoxLayout *footer(std::initializer_list<QPushButton *> buttons)
{
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    for (QPushButton *button : buttons)
        row->addWidget(button);
    return row;
}

} // namespace

WelcomeWindow::WelcomeWindow(SettingsViewModel &model,
                             KeyCustody *custody,
                             AISetupTab::KeySyncSource keySync,
                             QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_model(model)
    , m_pickFolder([](QWidget *owner) {
        return QFileDialog::getExistingDirectory(owner, tr("Choose a Folder to Watch"), QDir::homePath());
    })
    , m_presentAlert(messageBoxPresenter(this))
{
    setObjectName(QStringLiteral("welcomeWindow"));
    setWindowTitle(tr("Welcome to Nomly"));
    setMinimumSize(MinimumWidth, MinimumHeight);
    setAcceptDrops(true);

    m_route = new AISetupTab(model, custody, std::move(keySync));
    m_pages = new QStackedWidget(this);
    m_pages->addWidget(welcomePage());
    m_pages->addWidget(consentPage());
    m_pages->addWidget(routePage());
    m_pages->addWidget(startPage());
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(32, 24, 32, 24);
    layout->addWidget(m_pages);
}

void WelcomeWindow::setAlertPresenter(AlertPresenter presenter)
{
    m_presentAlert = presenter;
    m_route->setAlertPresenter(std::move(presenter));
}

QWidget *WelcomeWindow::welcomePage()
{
    auto *page = new QWidget;
    auto *logo = new QLabel(page);
    logo->setPixmap(themedIcon(QStringLiteral("nomly")).pixmap(96));
    logo->setAlignment(Qt::AlignCenter);
    auto *title = heading(tr("Welcome to Nomly"), page, 1.8);
    title->setAlignment(Qt::AlignCenter);
    auto *intro = paragraph(tr("Nomly reads what your files hold and gives them names that say so.\n\n"
                               "Drop files to rename them after a review, watch folders so that new files "
                               "are named as they arrive, or rename the file manager's selection with a "
                               "shortcut. Every change is recorded and can be undone.\n\n"
                               "Three short steps set it up: what Nomly may send for analysis, which AI "
                               "answers, and where to start."),
                            page);
    intro->setAlignment(Qt::AlignCenter);
    auto *start = button(tr("Get Started"), QStringLiteral("getStarted"), page);
    start->setDefault(true);
    connect(start, &QPushButton::clicked, this, &WelcomeWindow::next);
    auto *layout = new QVBoxLayout(page);
    layout->addStretch(1);
    layout->addWidget(logo);
    layout->addWidget(title);
    layout->addSpacing(16);
    layout->addWidget(intro);
    layout->addStretch(1);
    layout->addWidget(start, 0, Qt::AlignHCenter);
    return page;
}

QWidget *WelcomeWindow::consentPage()
{
    auto *page = new QWidget;
    auto *view = new ConsentView(page);
    auto *later = button(tr("Not Now"), QStringLiteral("skipConsent"), page);
    later->setToolTip(tr("Nothing is analysed until you agree. Data & Privacy in AI Setup asks again."));
    view->actions()->insertWidget(2, later);
    connect(later, &QPushButton::clicked, this, &WelcomeWindow::next);
    connect(view, &ConsentView::agreed, this, [this] {
        emit consentAgreed();
        // An agreement that could not be stored was told; the step stays.
        if (m_model.consent().aiDataConsentGranted())
            next();
    });
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view);
    return page;
}

QWidget *WelcomeWindow::routePage()
{
    auto *page = new QWidget;
    auto *scroll = new QScrollArea(page);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidget(m_route);
    auto *go = button(tr("Continue"), QStringLiteral("routeContinue"), page);
    go->setDefault(true);
    connect(go, &QPushButton::clicked, this, &WelcomeWindow::next);
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(heading(tr("Which AI answers"), page));
    layout->addWidget(paragraph(tr("Nomly Cloud AI works as it is. Your own key for Google AI, OpenAI, Anthropic "
                                   "or Groq, a local Ollama, or a server of your own that speaks OpenAI's "
                                   "protocol (LM Studio, llama.cpp) can answer instead. AI Setup changes it later."),
                                page));
    layout->addWidget(scroll, 1);
    layout->addLayout(footer({ go }));
    return page;
}

QWidget *WelcomeWindow::startPage()
{
    auto *page = new QWidget;
    auto *watch = button(tr("Watch a Folder..."), QStringLiteral("watchFolder"), page);
    connect(watch, &QPushButton::clicked, this, [this] { QCoro::connect(watchFolder(), this, [] {}); });
    auto *drop = new QLabel(tr("Or drop files here to rename them after a review."), page);
    drop->setObjectName(QStringLiteral("dropHint"));
    drop->setAlignment(Qt::AlignCenter);
    drop->setFrameShape(QFrame::StyledPanel);
    drop->setMinimumHeight(120);
    m_choice = paragraph(QString(), page);
    m_choice->setObjectName(QStringLiteral("startChoice"));
    auto *finish = button(tr("Finish Setup"), QStringLiteral("finishSetup"), page);
    finish->setDefault(true);
    connect(finish, &QPushButton::clicked, this, [this] {
        hide();
        emit completed();
    });
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(heading(tr("Where to start"), page));
    layout->addWidget(paragraph(tr("Monitor renames each new file in a folder you choose, such as Downloads or a "
                                   "scanner's folder. Files you drop are shown in AI Rename with their suggested "
                                   "names, and nothing is renamed until you say so. Both can wait: the tabs of "
                                   "the Nomly window do the same."),
                                page));
    layout->addSpacing(12);
    layout->addWidget(watch, 0, Qt::AlignLeft);
    layout->addSpacing(12);
    layout->addWidget(drop);
    layout->addWidget(m_choice);
    layout->addStretch(1);
    layout->addLayout(footer({ finish }));
    return page;
}

WelcomeWindow::Step WelcomeWindow::step() const
{
    return static_cast<Step>(m_pages->currentIndex());
}

void WelcomeWindow::goTo(Step step)
{
    // Consent given elsewhere (the command line, an earlier run) is not
    // asked for again.
    if (step == Step::Consent && m_model.consent().aiDataConsentGranted())
        step = Step::Route;
    m_pages->setCurrentIndex(static_cast<int>(step));
}

void WelcomeWindow::next()
{
    goTo(static_cast<Step>(std::min(m_pages->currentIndex() + 1, int(Step::Start))));
}

void WelcomeWindow::present()
{
    placeOnFirstShow(*this);
    show();
    raise();
    activateWindow();
}

QCoro::Task<> WelcomeWindow::watchFolder()
{
    const QString folder = m_pickFolder(this);
    if (folder.isEmpty())
        co_return;
    QPointer<WelcomeWindow> self(this);
    auto adding = m_model.folders().addFolder(folder);
    const WatchedFolders::FolderAddition added = co_await adding;
    if (!self)
        co_return;
    if (added == WatchedFolders::FolderAddition::Added) {
        m_folder = folder;
        showChoice();
        co_return;
    }
    auto telling = added == WatchedFolders::FolderAddition::Forbidden
        ? m_presentAlert(forbiddenFolderAlertTitle(), forbiddenFolderAlertMessage(), {})
        : m_presentAlert(tr("Folder Not Added"), tr("The folder could not be saved. Please try again."), {});
    co_await telling;
}

void WelcomeWindow::showChoice()
{
    QStringList lines;
    if (!m_folder.isEmpty())
        lines.append(tr("Monitor will watch %1.").arg(QDir::toNativeSeparators(m_folder)));
    if (!m_files.isEmpty())
        lines.append(tr("%n file(s) will be shown in AI Rename.", nullptr, int(m_files.size())));
    m_choice->setText(lines.join(u'\n'));
}

void WelcomeWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (step() == Step::Start && event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void WelcomeWindow::dropEvent(QDropEvent *event)
{
    for (const QUrl &url : event->mimeData()->urls()) {
        if (url.isLocalFile() && !m_files.contains(url.toLocalFile()))
            m_files.append(url.toLocalFile());
    }
    event->acceptProposedAction();
    showChoice();
}

} // namespace Nomly
