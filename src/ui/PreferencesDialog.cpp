#include "ui/PreferencesDialog.h"

#include "ui/HintLabel.h"
#include "ui/ImportDialog.h"
#include "ui/Choosers.h"
#include "core/cycle/DatabaseService.h"
#include "core/db/ColumnValues.h"
#include "core/db/NimbrelSchema.h"
#include "core/errors/ErrorReporter.h"
#include "core/errors/MessageBoxes.h"
#include "core/settings/SettingsModel.h"
#include "core/sources/SourceLists.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleValidator>
#include <QFileInfo>
#include <QIntValidator>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include <limits>

namespace {

const char* const kScaleNames[] = {"barometer", "temperature", "humidity", "windSpeed", "rainfall"};
const char* const kScaleCaptions[] = {"Barometer", "Temperature", "Humidity", "Wind Speed", "Rainfall"};
// What an axis bound of each scale group may be: hPa, degrees, percent, knots, mm.
const double kScaleLimits[][2] = {{0, 2000}, {-100, 100}, {0, 100}, {0, 500}, {0, 10000}};
constexpr int kLargestLogMultiple = 9999;

const QString kSourceFileFilter = QStringLiteral("Data File|currdat.lst;*.txt;*.xml|All Files|*.*");
const QString kImportFileFilter = QStringLiteral("History Data File (eg. history.txt)|*.txt|All Files|*.*");
const QString kStationHistoryFilter = QStringLiteral("Station History (history.dat)|*.dat|All Files|*.*");
const QString kPictureFilter = QStringLiteral("Graphic Interchange Format (*.gif)|*.gif|All Files|*.*");
const QString kErrorLogFilter = QStringLiteral("Error Log File (eg. *.txt)|*.txt");
const QString kExportFileFilter = QStringLiteral("RSS Data File|*.txt;*.xml|All Files|*.*");
const QString kDatabaseFilter = QStringLiteral("Weather Database (eg. *.mdb)|*.mdb");
const QString kTemplateFilter = QStringLiteral("RSS Template File (*.txt;*.xml)|*.txt;*.xml");

// A box that takes only numbers from `bottom` to `top`, "." as the decimal
// point whatever the language; the range is in its tooltip.
void acceptNumbers(QLineEdit* box, double bottom, double top, int decimals)
{
    QLocale plain = QLocale::c();
    plain.setNumberOptions(QLocale::RejectGroupSeparator);
    QValidator* validator = nullptr;
    if (decimals == 0) {
        validator = new QIntValidator(int(bottom), int(top), box);
    } else {
        auto* numbers = new QDoubleValidator(bottom, top, decimals, box);
        numbers->setNotation(QDoubleValidator::StandardNotation);
        validator = numbers;
    }
    validator->setLocale(plain);
    box->setValidator(validator);
    box->setToolTip(QObject::tr("A number from %1 to %2").arg(bottom).arg(top, 0, 'f', 0));
}

// Whether a number box holds a number in its range; otherwise why not, naming it.
QString numberProblem(const QLineEdit* box, const QString& name)
{
    if (box->text().trimmed().isEmpty())
        return QObject::tr("Fill in %1").arg(name);
    if (!box->hasAcceptableInput())
        return QObject::tr("%1 must be %2").arg(name, box->toolTip().replace("A number", "a number"));
    return {};
}

QCheckBox* check(const QString& caption, const QString& name, QWidget* parent)
{
    auto* box = new QCheckBox(caption, parent);
    box->setObjectName(name);
    return box;
}

QHBoxLayout* row(std::initializer_list<QWidget*> widgets)
{
    auto* layout = new QHBoxLayout;
    for (QWidget* widget : widgets)
        layout->addWidget(widget);
    return layout;
}

// The sample's text and background colours, as the settings keep them.
qint32 sampleColour(const QLabel* sample, QPalette::ColorRole role)
{
    return storedColour(sample->palette().color(role));
}

void setSampleColours(QLabel* sample, qint32 text, qint32 background)
{
    QPalette palette = sample->palette();
    palette.setColor(QPalette::WindowText, colourOf(text));
    palette.setColor(QPalette::Window, colourOf(background));
    sample->setPalette(palette);
}

QLabel* colourSample(const QString& caption, const QString& name, QWidget* parent)
{
    auto* sample = new QLabel(caption, parent);
    sample->setObjectName(name);
    sample->setAutoFillBackground(true);
    sample->setAlignment(Qt::AlignCenter);
    sample->setMinimumSize(160, 48);
    sample->setFrameShape(QFrame::Box);
    return sample;
}

}  // namespace

PreferencesDialog::PreferencesDialog(PreferencesContext context, QWidget* parent)
    : QDialog(parent), context_(std::move(context))
{
    setObjectName("preferencesDialog");
    setWindowTitle(tr("Preferences"));
    setModal(true);

    auto* tabs = new QTabWidget(this);
    tabs->setObjectName("preferencesTabs");
    tabs->addTab(buildSourcesTab(), tr("Weather Sources"));
    tabs->addTab(buildGraphTab(), tr("Graph Colours"));
    tabs->addTab(buildExportsTab(), tr("Exports"));
    tabs->addTab(buildRefreshTab(), tr("Auto Refresh"));
    tabs->addTab(buildErrorLogTab(), tr("Error Log"));

    QPushButton* ok = button(tr("OK"), "okButton", this);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &PreferencesDialog::accept);
    connect(button(tr("Cancel"), "cancelButton", this), &QPushButton::clicked, this, &PreferencesDialog::reject);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(findChild<QPushButton*>("cancelButton"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    layout->addLayout(buttons);
}

QLineEdit* PreferencesDialog::edit(const QString& name, QWidget* parent)
{
    auto* box = new QLineEdit(parent);
    box->setObjectName(name);
    box->setMinimumWidth(120);
    return box;
}

QPushButton* PreferencesDialog::button(const QString& text, const QString& name, QWidget* parent)
{
    auto* pushButton = new QPushButton(text, parent);
    pushButton->setObjectName(name);
    pushButton->setAutoDefault(false);
    if (text.size() <= 3)
        pushButton->setMaximumWidth(40);  // "...", "<" and ">" need little room
    return pushButton;
}

// ---- building the tabs

QWidget* PreferencesDialog::buildSourcesTab()
{
    auto* page = new QWidget(this);
    primaryDatabase_ = edit("primaryDatabaseEdit", page);
    connect(primaryDatabase_, &QLineEdit::editingFinished, this, [this] {
        if (primaryDatabase_->isModified())
            primaryDatabaseChanged();
        primaryDatabase_->setModified(false);
    });
    QPushButton* pickPrimary = button("...", "pickPrimaryDatabaseButton", page);
    connect(pickPrimary, &QPushButton::clicked, this, [this] {
        const QString before = primaryDatabase_->text();
        pickInto(primaryDatabase_, tr("Primary Weather Database"), kDatabaseFilter, ".mdb", false);
        if (primaryDatabase_->text() != before)
            primaryDatabaseChanged();
    });
    QPushButton* newDatabase = button(tr("New..."), "newDatabaseButton", page);
    newDatabase->setToolTip(tr("Makes a new, empty weather database"));
    connect(newDatabase, &QPushButton::clicked, this, &PreferencesDialog::makeNewDatabase);

    auto* primaryRow = row({primaryDatabase_, pickPrimary, newDatabase});
    auto* top = new QFormLayout;
    top->addRow(tr("Primary Weather Database"), primaryRow);

    auto* layout = new QVBoxLayout(page);
    layout->addLayout(top);
    layout->addWidget(buildSourceBrowser(page));
    layout->addStretch();
    return page;
}

QWidget* PreferencesDialog::buildSourceBrowser(QWidget* page)
{
    auto* frame = new QGroupBox(tr("Source"), page);
    sourceFrame_ = frame;
    sourceNumberLabel_ = new QLabel(frame);
    sourceNumberLabel_->setObjectName("sourceNumberLabel");
    previousSource_ = button("<", "previousSourceButton", frame);
    previousSource_->setToolTip(tr("Previous source"));
    connect(previousSource_, &QPushButton::clicked, this, [this] { step(-1); });
    QPushButton* next = button(">", "nextSourceButton", frame);
    next->setToolTip(tr("Next source"));
    connect(next, &QPushButton::clicked, this, [this] { step(+1); });
    connect(button(tr("New"), "newSourceButton", frame), &QPushButton::clicked, this,
            &PreferencesDialog::newSource);
    saveSource_ = button(tr("Save"), "saveSourceButton", frame);
    saveSource_->setEnabled(false);
    connect(saveSource_, &QPushButton::clicked, this, &PreferencesDialog::saveSource);

    sourceName_ = edit("sourceNameEdit", frame);
    sourceFile_ = edit("sourceFileEdit", frame);
    sourceDatabase_ = edit("sourceDatabaseEdit", frame);
    dataId_ = edit("dataIdEdit", frame);
    logMultiple_ = edit("logMultipleEdit", frame);
    importFile_ = edit("importFileEdit", frame);
    exportFile_ = edit("exportFileEdit", frame);
    acceptNumbers(dataId_, 0, std::numeric_limits<qint32>::max(), 0);
    acceptNumbers(logMultiple_, 0, kLargestLogMultiple, 0);
    for (QLineEdit* box : {sourceDatabase_, logMultiple_, sourceFile_, sourceName_, importFile_, exportFile_, dataId_})
        connect(box, &QLineEdit::textEdited, this, [this] { saveSource_->setEnabled(true); });

    QPushButton* pickSource = button("...", "pickSourceFileButton", frame);
    connect(pickSource, &QPushButton::clicked, this,
            [this] { pickInto(sourceFile_, tr("Source Filename"), kSourceFileFilter, {}, true); });
    QPushButton* pickDatabase = button("...", "pickSourceDatabaseButton", frame);
    connect(pickDatabase, &QPushButton::clicked, this,
            [this] { pickInto(sourceDatabase_, tr("Weather Database"), kDatabaseFilter, ".mdb", true); });
    QPushButton* pickImport = button("...", "pickImportFileButton", frame);
    // A feed source imports a saved page (".txt" added as always); a station
    // source the station program's history.dat, which keeps its own name.
    connect(pickImport, &QPushButton::clicked, this, [this] {
        if (feed_->isChecked())
            pickInto(importFile_, tr("Import Data File"), kImportFileFilter, ".txt", true);
        else
            pickInto(importFile_, tr("Import Data File"), kStationHistoryFilter, {}, true);
    });
    QPushButton* importData = button(tr("Import Data"), "importDataButton", frame);
    connect(importData, &QPushButton::clicked, this, &PreferencesDialog::importData);
    QPushButton* pickExport = button("...", "pickExportFileButton", frame);
    connect(pickExport, &QPushButton::clicked, this,
            [this] { pickInto(exportFile_, tr("Export Data File"), kExportFileFilter, {}, true); });

    auto* typeFrame = new QGroupBox(tr("Source Type"), frame);
    stationFile_ = new QRadioButton(tr("Heavy Weather"), typeFrame);
    stationFile_->setObjectName("stationFileRadio");
    feed_ = new QRadioButton(tr("RSS (xml)"), typeFrame);
    feed_->setObjectName("feedRadio");
    stationFile_->setChecked(true);
    auto* typeLayout = new QHBoxLayout(typeFrame);
    typeLayout->addWidget(stationFile_);
    typeLayout->addWidget(feed_);
    typeLayout->addStretch();

    auto* browser = new QHBoxLayout;
    browser->addWidget(sourceNumberLabel_);
    browser->addStretch();
    for (const char* name : {"previousSourceButton", "nextSourceButton", "newSourceButton", "saveSourceButton"})
        browser->addWidget(frame->findChild<QPushButton*>(name));

    auto* fields = new QFormLayout;
    fields->addRow(tr("Source Name"), sourceName_);
    fields->addRow(tr("Source Filename"), row({sourceFile_, pickSource}));
    fields->addRow(tr("Weather Database"), row({sourceDatabase_, pickDatabase}));
    fields->addRow(tr("Data Source ID"), dataId_);
    fields->addRow(tr("Log Cycle Multipler"), logMultiple_);
    fields->addRow(QString(), hintLabel(tr(" (0 = off)  See Auto-Refresh tab for Cycle interval"), frame));
    fields->addRow(tr("Import Data File"), row({importFile_, pickImport, importData}));
    fields->addRow(tr("Export Data File"), row({exportFile_, pickExport}));

    auto* layout = new QVBoxLayout(frame);
    layout->addLayout(browser);
    layout->addLayout(fields);
    layout->addWidget(typeFrame);
    return frame;
}

QWidget* PreferencesDialog::buildGraphTab()
{
    auto* page = new QWidget(this);
    auto* bandwidths = new QGroupBox(tr("X Axis Bandwidth Settings"), page);
    auto* grid = new QGridLayout;
    for (int group = 0; group < Preferences::kScaleGroups; ++group) {
        auto* frame = new QGroupBox(tr(kScaleCaptions[group]), bandwidths);
        auto* minimum = edit(QString(kScaleNames[group]) + "MinimumEdit", frame);
        auto* maximum = edit(QString(kScaleNames[group]) + "MaximumEdit", frame);
        minimum->setMinimumWidth(70);
        maximum->setMinimumWidth(70);
        for (QLineEdit* bound : {minimum, maximum})
            acceptNumbers(bound, kScaleLimits[group][0], kScaleLimits[group][1], 3);
        axes_[2 * group] = minimum;
        axes_[2 * group + 1] = maximum;
        auto* pair = new QFormLayout(frame);
        pair->addRow(tr("Min"), minimum);
        pair->addRow(tr("Max"), maximum);
        grid->addWidget(frame, group / 3, group % 3);
    }
    auto* bandLayout = new QVBoxLayout(bandwidths);
    bandLayout->addLayout(grid);
    bandLayout->addWidget(
        hintLabel(tr("Use these bandwidths to set the lower and upper X values for a graph with that data type."),
             bandwidths));

    auto* scheme = new QGroupBox(tr("Screen Colour Scheme"), page);
    screenSample_ = colourSample(tr("On Screen Colours"), "screenColourSample", scheme);
    QPushButton* text = button(tr("Text Colour"), "screenTextColourButton", scheme);
    connect(text, &QPushButton::clicked, this, [this] { chooseColour(screenSample_, QPalette::WindowText); });
    QPushButton* back = button(tr("Back Colour"), "screenBackColourButton", scheme);
    connect(back, &QPushButton::clicked, this, [this] { chooseColour(screenSample_, QPalette::Window); });
    auto* schemeLayout = new QHBoxLayout(scheme);
    schemeLayout->addWidget(screenSample_);
    schemeLayout->addWidget(text);
    schemeLayout->addWidget(back);
    schemeLayout->addStretch();

    auto* layout = new QVBoxLayout(page);
    layout->addWidget(bandwidths);
    layout->addWidget(scheme);
    layout->addStretch();
    return page;
}

QWidget* PreferencesDialog::buildExportsTab()
{
    auto* page = new QWidget(this);
    graphicFolder_ = edit("graphicFolderEdit", page);
    QPushButton* pickFolder = button("...", "pickGraphicFolderButton", page);
    connect(pickFolder, &QPushButton::clicked, this,
            [this] { pickInto(graphicFolder_, tr("Export Graph GIF folder"), kPictureFilter, ".gif", false); });
    rssTemplate_ = edit("rssTemplateEdit", page);
    QPushButton* pickTemplate = button("...", "pickRssTemplateButton", page);
    connect(pickTemplate, &QPushButton::clicked, this,
            [this] { pickInto(rssTemplate_, tr("Export RSS Template"), kTemplateFilter, {}, false); });

    auto* files = new QFormLayout;
    files->addRow(tr("Export Graph GIF folder"), row({graphicFolder_, pickFolder}));
    files->addRow(QString(), hintLabel(tr("GIF files to. (eg. c:\\web\\images)"), page));
    files->addRow(tr("Export RSS Template"), row({rssTemplate_, pickTemplate}));

    auto* scheme = new QGroupBox(tr("GIF File Colour Scheme"), page);
    exportSample_ = colourSample(tr("Export Colours"), "exportColourSample", scheme);
    QPushButton* text = button(tr("Text Colour"), "exportTextColourButton", scheme);
    connect(text, &QPushButton::clicked, this, [this] { chooseColour(exportSample_, QPalette::WindowText); });
    QPushButton* back = button(tr("Back Colour"), "exportBackColourButton", scheme);
    connect(back, &QPushButton::clicked, this, [this] { chooseColour(exportSample_, QPalette::Window); });
    auto* schemeLayout = new QHBoxLayout(scheme);
    schemeLayout->addWidget(exportSample_);
    schemeLayout->addWidget(text);
    schemeLayout->addWidget(back);
    schemeLayout->addStretch();

    favourites_ = new QListWidget(page);
    favourites_->setObjectName("favouriteExportList");
    connect(favourites_, &QListWidget::itemChanged, this, &PreferencesDialog::favouriteChanged);

    auto* layout = new QVBoxLayout(page);
    layout->addLayout(files);
    layout->addWidget(scheme);
    layout->addWidget(new QLabel(tr("Favourites exported as pictures"), page));
    layout->addWidget(favourites_);
    layout->addWidget(hintLabel(tr("files will be named wgraph#.gif where # is the Fav. Number (zero based)"), page));
    return page;
}

QWidget* PreferencesDialog::buildRefreshTab()
{
    auto* page = new QWidget(this);
    auto* cycle = new QGroupBox(tr("Refresh Cycle Settings"), page);
    cycleMinutes_ = new QComboBox(cycle);
    cycleMinutes_->setObjectName("cycleMinutesCombo");
    cycleMinutes_->addItems({"10", "20", "30", "40", "50", "60"});
    autoRefresh_ = check(tr("Refresh the current conditions every minute"), "autoRefreshCheck", cycle);
    autoGraph_ = check(tr("Refresh the history graph every cycle"), "autoGraphCheck", cycle);
    autoExport_ = check(tr("Write the RSS export file(s) every cycle"), "autoExportCheck", cycle);
    autoPicture_ = check(tr("Export the graph pictures every cycle"), "autoPictureCheck", cycle);
    autoDatabase_ = check(tr("Log the readings of all sources into the database every cycle"),
                          "autoDatabaseCheck", cycle);
    for (QCheckBox* flag : {autoRefresh_, autoGraph_, autoPicture_})
        connect(flag, &QCheckBox::clicked, this, [this, flag] { onFlagClicked(flag); });

    auto* minutes = new QFormLayout;
    minutes->addRow(tr("Cycle in Mins"), cycleMinutes_);
    auto* cycleLayout = new QVBoxLayout(cycle);
    cycleLayout->addLayout(minutes);
    for (QCheckBox* flag : {autoRefresh_, autoGraph_, autoExport_, autoPicture_, autoDatabase_})
        cycleLayout->addWidget(flag);

    auto* layout = new QVBoxLayout(page);
    layout->addWidget(cycle);
    layout->addStretch();
    return page;
}

QWidget* PreferencesDialog::buildErrorLogTab()
{
    auto* page = new QWidget(this);
    errorLog_ = edit("errorLogEdit", page);
    QPushButton* pickLog = button("...", "pickErrorLogButton", page);
    connect(pickLog, &QPushButton::clicked, this,
            [this] { pickInto(errorLog_, tr("Error Log Filename"), kErrorLogFilter, ".txt", false); });
    unattended_ = check(tr("Unattended: errors go to the error log instead of a message box"), "unattendedCheck",
                        page);
    errorMail_ = check(tr("When unattended, also mail each error"), "errorMailCheck", page);
    smtpServer_ = edit("smtpServerEdit", page);
    smtpUser_ = edit("smtpUserEdit", page);
    smtpPassword_ = edit("smtpPasswordEdit", page);
    smtpPassword_->setEchoMode(QLineEdit::Password);
    sender_ = edit("senderEdit", page);
    recipients_ = edit("recipientsEdit", page);
    QPushButton* test = button(tr("test"), "testMailButton", page);
    test->setToolTip(tr("Sends a test mail with the settings as they are now"));
    connect(test, &QPushButton::clicked, this, &PreferencesDialog::sendTestMail);

    auto* form = new QFormLayout;
    form->addRow(tr("Error Log Filename"), row({errorLog_, pickLog}));
    form->addRow(QString(), unattended_);
    form->addRow(QString(), errorMail_);
    form->addRow(tr("SMTP Server Name or IP address"), smtpServer_);
    form->addRow(tr("SMTP User ID"), smtpUser_);
    form->addRow(tr("SMTP Password"), smtpPassword_);
    form->addRow(tr("Sender Address (me)"), sender_);
    form->addRow(tr("Recipient/s  ( ; )"), recipients_);

    auto* testRow = new QHBoxLayout;
    testRow->addStretch();
    testRow->addWidget(test);
    auto* layout = new QVBoxLayout(page);
    layout->addLayout(form);
    layout->addLayout(testRow);
    layout->addStretch();
    return page;
}

// ---- the preferences

void PreferencesDialog::load()
{
    const SettingsModel& settings = context_.settings;
    for (int group = 0; group < Preferences::kScaleGroups; ++group) {
        axes_[2 * group]->setText(settings.axisMinimum(group));
        axes_[2 * group + 1]->setText(settings.axisMaximum(group));
    }
    graphicFolder_->setText(settings.graphicFolder());
    primaryDatabase_->setText(settings.database());
    errorLog_->setText(settings.errorLog());
    smtpServer_->setText(settings.errorSmtp());
    smtpUser_->setText(settings.errorUser());
    smtpPassword_->setText(settings.errorPassword());
    sender_->setText(settings.errorFrom());
    recipients_->setText(settings.errorTo());
    rssTemplate_->setText(settings.rssFile());
    cycleMinutes_->setCurrentIndex(qBound(0, settings.intervalPosition(), cycleMinutes_->count() - 1));
    autoRefresh_->setChecked(settings.autoRefresh());
    autoGraph_->setChecked(settings.autoGraph());
    autoExport_->setChecked(settings.autoExport());
    autoPicture_->setChecked(settings.autoPicture());
    autoDatabase_->setChecked(settings.autoDatabase());
    unattended_->setChecked(settings.unattended());
    errorMail_->setChecked(settings.errorMail());
    setSampleColours(screenSample_, settings.fontColour(), settings.backColour());
    setSampleColours(exportSample_, settings.fontColourExport(), settings.backColourExport());
    autoPicture_->setEnabled(autoRefresh_->isChecked() && autoGraph_->isChecked());
    primaryDatabaseChanged();
}

void PreferencesDialog::primaryDatabaseChanged()
{
    // Only a database file has sources and favourites to show: a folder or a
    // name not made yet shows none, without an error for each list.
    if (!QFileInfo(primaryDatabase_->text()).isFile()) {
        favourites_->clear();
        setSourceNumber(0);
        showBlankSource();
        return;
    }
    fillFavourites();
    const auto blankIfNone = [this](bool found) {
        if (!found)
            showBlankSource();  // a database without sources: start with a blank one
    };
    const int shown = sourceNumber_;
    showSource(shown, [this, shown, blankIfNone](bool found) {
        if (!found && shown != 0)
            showSource(0, blankIfNone);
        else
            blankIfNone(found);
    });
}

void PreferencesDialog::applyToSettings()
{
    Preferences values = context_.settings.snapshot();
    for (int group = 0; group < Preferences::kScaleGroups; ++group) {
        values.axisMinimum[group] = axes_[2 * group]->text();
        values.axisMaximum[group] = axes_[2 * group + 1]->text();
    }
    values.graphicFolder = graphicFolder_->text();
    values.database = primaryDatabase_->text();
    values.errorLog = errorLog_->text();
    values.errorSmtp = smtpServer_->text();
    values.errorUser = smtpUser_->text();
    values.errorPassword = smtpPassword_->text();
    values.errorFrom = sender_->text();
    values.errorTo = recipients_->text();
    values.rssFile = rssTemplate_->text();
    values.intervalPosition = cycleMinutes_->currentIndex();
    values.autoRefresh = autoRefresh_->isChecked();
    values.autoGraph = autoGraph_->isChecked();
    values.autoExport = autoExport_->isChecked();
    values.autoPicture = autoPicture_->isChecked();
    values.autoDatabase = autoDatabase_->isChecked();
    values.unattended = unattended_->isChecked();
    values.errorMail = errorMail_->isChecked();
    values.fontColour = sampleColour(screenSample_, QPalette::WindowText);
    values.backColour = sampleColour(screenSample_, QPalette::Window);
    values.fontColourExport = sampleColour(exportSample_, QPalette::WindowText);
    values.backColourExport = sampleColour(exportSample_, QPalette::Window);
    context_.settings.replace(values);
}

bool PreferencesDialog::validate()
{
    QString message;
    for (int group = 0; group < Preferences::kScaleGroups; ++group) {
        QStringList problems;
        for (const int bound : {0, 1}) {
            const QString name = tr(kScaleCaptions[group]) + (bound == 0 ? tr(" Min") : tr(" Max"));
            if (const QString problem = numberProblem(axes_[2 * group + bound], name); !problem.isEmpty())
                problems << problem;
        }
        // Rainfall (the last pair) may run either way: it is not checked.
        if (problems.isEmpty() && group < Preferences::kScaleGroups - 1 &&
            axes_[2 * group]->text().toDouble() >= axes_[2 * group + 1]->text().toDouble())
            problems << tr(kScaleCaptions[group]) + tr(" Minimum is greater than or equal to Maximum");
        for (const QString& problem : problems)
            message += problem + "\r\n";
    }
    if (graphicFolder_->text().endsWith(u'\\'))
        graphicFolder_->setText(graphicFolder_->text().chopped(1));
    if (message.isEmpty())
        return true;
    context_.environment.boxes.show(tr("Invalid settings"), message, MessageBoxes::Icon::Exclamation);
    return false;
}

void PreferencesDialog::accept()
{
    if (!validate())
        return;
    if (const QString primary = primaryDatabase_->text(); QFileInfo(primary).isDir()) {
        context_.environment.boxes.show(tr("Invalid settings"),
                                        tr("The Primary Weather Database must be a database file, but %1 is a folder. "
                                           "Pick a database in it with \"...\", or make one with \"New...\".")
                                            .arg(primary),
                                        MessageBoxes::Icon::Exclamation);
        return;
    }
    applyToSettings();
    QString error;
    if (!context_.settings.save(context_.store, error)) {
        context_.environment.errors.report("\r\nSave Settings Error: " + error);
        return;
    }
    QDialog::accept();
}

void PreferencesDialog::reject()
{
    // The edits stay in effect for the rest of the run; they are not saved.
    applyToSettings();
    QDialog::reject();
}

// ---- pickers, colours, database, mail

void PreferencesDialog::pickInto(QLineEdit* box, const QString& title, const QString& filter,
                                 const QString& extension, bool enablesSourceSave)
{
    QString chosen = context_.choosers.openFile(this, title, filter);
    if (chosen.isEmpty())
        return;  // cancelled: the box keeps its text
    if (!extension.isEmpty())
        chosen = withExtension(chosen, extension);
    box->setText(chosen);
    if (enablesSourceSave)
        saveSource_->setEnabled(true);
}

void PreferencesDialog::chooseColour(QLabel* sample, QPalette::ColorRole role)
{
    const std::optional<QColor> chosen = context_.choosers.colour(this, sample->palette().color(role));
    if (!chosen)
        return;
    QPalette palette = sample->palette();
    palette.setColor(role, *chosen);
    sample->setPalette(palette);
}

void PreferencesDialog::makeNewDatabase()
{
    QString path = context_.choosers.newFile(this, tr("New Weather Database"), kDatabaseFilter);
    if (path.isEmpty())
        return;
    path = withExtension(path, ".mdb");
    context_.database.request<QString>(
        this,
        [path] {
            const mdb::Status created = NimbrelSchema::createDatabase(path.toStdString());
            return created ? QString() : QString::fromStdString(created.error().message);
        },
        [this, path](const QString& error) {
            if (error.isEmpty()) {
                primaryDatabase_->setText(path);
                primaryDatabaseChanged();
            } else {
                context_.environment.boxes.show(tr("New Weather Database"),
                                                tr("The database could not be made:\r\n") + error,
                                                MessageBoxes::Icon::Exclamation);
            }
            emit databaseWorkDone();
        });
}

void PreferencesDialog::sendTestMail()
{
    if (!context_.sendTestMail)
        return;
    applyToSettings();  // the mail goes out with the fields as they are now
    context_.database.request<bool>(this, context_.sendTestMail, [this](const bool&) { emit databaseWorkDone(); });
}

// ---- the source browser

void PreferencesDialog::setSourceNumber(int number)
{
    sourceNumber_ = number;
    sourceNumberLabel_->setText(tr("Source No.") + QString::number(number));
    previousSource_->setEnabled(number > 0);
}

void PreferencesDialog::showSourceFields(const WeatherSource& source, int number)
{
    setSourceNumber(number);
    sourceName_->setText(source.sourceName());
    sourceFile_->setText(source.sourceFileName());
    sourceDatabase_->setText(source.sourceDatabase());
    dataId_->setText(QString::number(source.dataID()));
    importFile_->setText(source.importFileName());
    exportFile_->setText(source.exportFileName());
    logMultiple_->setText(QString::number(source.logMultiple()));
    (source.sourceKind() == SourceKind::StationFile ? stationFile_ : feed_)->setChecked(true);
}

void PreferencesDialog::showBlankSource()
{
    for (QLineEdit* box : {sourceName_, sourceFile_, sourceDatabase_, importFile_, exportFile_})
        box->clear();
    dataId_->setText("0");
    logMultiple_->setText("1");  // a new source logs every cycle unless told otherwise
    stationFile_->setChecked(true);
}

template <typename Result>
void PreferencesDialog::requestSourceWork(std::function<Result()> work, std::function<void(const Result&)> done)
{
    // The source's fields and buttons wait for the answer: typed into, or
    // saved under the number shown, they could lose what the user typed.
    ++pendingSourceWork_;
    sourceFrame_->setEnabled(false);
    context_.database.request<Result>(this, std::move(work), [this, done = std::move(done)](const Result& result) {
        if (--pendingSourceWork_ == 0)
            sourceFrame_->setEnabled(true);
        done(result);
        emit databaseWorkDone();
    });
}

void PreferencesDialog::showSource(int number, std::function<void(bool)> done)
{
    const QString path = primaryDatabase_->text();
    const Environment& environment = context_.environment;
    using Found = std::shared_ptr<WeatherSource>;
    requestSourceWork<Found>(
        [path, number, &environment]() -> Found {
            auto source = std::make_shared<WeatherSource>(environment);
            return source->load(path, number) ? source : nullptr;
        },
        [this, number, done](const Found& source) {
            if (source)
                showSourceFields(*source, number);
            else if (number == sourceNumber_)
                setSourceNumber(number);  // the caption at least, on an empty table
            if (done)
                done(source != nullptr);
        });
}

void PreferencesDialog::step(int direction)
{
    const int candidate = sourceNumber_ + direction;
    if (candidate < 0)
        return;
    showSource(candidate);
}

void PreferencesDialog::newSource()
{
    for (QLineEdit* box : {sourceName_, sourceFile_, sourceDatabase_, importFile_, exportFile_})
        box->clear();
    context_.environment.boxes.show(tr("New Source"), tr("Enter the Source details and press Save"),
                                    MessageBoxes::Icon::Information);
    const QString path = primaryDatabase_->text();
    const Environment& environment = context_.environment;
    const int first = sourceNumber_;
    requestSourceWork<int>(
        [path, first, &environment] {
            WeatherSource probe(environment);
            int number = first;
            while (number < std::numeric_limits<int>::max() && probe.load(path, number))
                ++number;
            return number;
        },
        [this](const int& number) {
            dataId_->setText(QString::number(number));
            setSourceNumber(number);
        });
}

void PreferencesDialog::saveSource()
{
    MessageBoxes& boxes = context_.environment.boxes;
    if (sourceName_->text().isEmpty()) {
        boxes.show(tr("Saving new source"), tr("Fill in all fields first"), MessageBoxes::Icon::Exclamation);
        sourceName_->setFocus();
        return;
    }
    for (const auto& [box, name] : {std::pair{dataId_, tr("Data Source ID")}, {logMultiple_, tr("Log Cycle Multipler")}}) {
        if (const QString problem = numberProblem(box, name); !problem.isEmpty()) {
            boxes.show(tr("Saving new source"), problem, MessageBoxes::Icon::Exclamation);
            box->setFocus();
            return;
        }
    }
    if (sourceFile_->text().isEmpty()) {
        boxes.show(tr("Saving new source"), tr("Warning, you have not set the input source"),
                   MessageBoxes::Icon::Exclamation);
        sourceFile_->setFocus();
    }
    auto source = std::make_shared<WeatherSource>(context_.environment);
    source->setSourceName(sourceName_->text());
    source->setSourceFileName(sourceFile_->text());
    source->setSourceDatabase(sourceDatabase_->text());
    source->setDataID(dataId_->text().toInt());
    source->setImportFileName(importFile_->text());
    source->setExportFileName(exportFile_->text());
    source->setLogMultiple(logMultiple_->text().toInt());
    source->setSourceKind(stationFile_->isChecked() ? SourceKind::StationFile : SourceKind::Feed);

    const QString path = primaryDatabase_->text();
    const int number = sourceNumber_;
    const Environment& environment = context_.environment;
    requestSourceWork<SourceSaved>(
        [source, path, number, &environment] {
            // Sources are told apart by name (remote collection matches them
            // so): another source's name is refused.
            for (const SourceLists::ListEntry& other : SourceLists::sourceList(path, environment)) {
                if (other.key != number && ColumnValues::equal(other.name.toStdString(), source->sourceName().toStdString()))
                    return SourceSaved{std::nullopt, other};
            }
            qint32 key = number;
            return source->save(path, key) ? SourceSaved{key, {}} : SourceSaved{};
        },
        [this](const SourceSaved& saved) {
            if (saved.nameTakenBy) {
                context_.environment.boxes.show(
                    tr("Saving new source"),
                    tr("Source No.%1 is already named %2. Each source needs a name of its own: remote collection "
                       "tells sources apart by their names.")
                        .arg(saved.nameTakenBy->key)
                        .arg(saved.nameTakenBy->name),
                    MessageBoxes::Icon::Exclamation);
                sourceName_->setFocus();
            } else if (saved.key) {
                // A new source gets the next free key, which may differ from
                // the number offered: show the one it has.
                setSourceNumber(*saved.key);
                saveSource_->setEnabled(false);
            }
        });
}

// ---- flags and favourites

void PreferencesDialog::onFlagClicked(QCheckBox* flag)
{
    MessageBoxes& boxes = context_.environment.boxes;
    const auto refuse = [&boxes, flag](const QString& text, QLineEdit* missing) {
        boxes.show(QApplication::applicationDisplayName(), text, MessageBoxes::Icon::Exclamation);
        flag->setChecked(false);
        missing->setFocus();
    };
    if (flag == autoPicture_ && flag->isChecked() && graphicFolder_->text().isEmpty())
        refuse(tr("Set the Graph Picture folder first"), graphicFolder_);
    else if (flag == autoGraph_ && flag->isChecked() && importFile_->text().isEmpty())
        refuse(tr("Set the History file first"), importFile_);
    else if (flag == autoRefresh_ && flag->isChecked() && sourceFile_->text().isEmpty())
        refuse(tr("Set the currdat.lst file first"), sourceFile_);
    if (flag == autoRefresh_ || flag == autoGraph_)
        updatePictureFlag();
}

void PreferencesDialog::updatePictureFlag()
{
    const bool allowed = autoRefresh_->isChecked() && autoGraph_->isChecked();
    autoPicture_->setEnabled(allowed);
    if (!allowed)
        autoPicture_->setChecked(false);
}

void PreferencesDialog::fillFavourites()
{
    const QString path = primaryDatabase_->text();
    const Environment& environment = context_.environment;
    using Favourites = QList<SourceLists::FavouriteExport>;
    context_.database.request<Favourites>(
        this, [path, &environment] { return SourceLists::favouriteExports(path, environment); },
        [this](const Favourites& favourites) {
            filling_ = true;
            favourites_->clear();
            for (const SourceLists::FavouriteExport& favourite : favourites) {
                auto* item = new QListWidgetItem(favourite.name, favourites_);
                item->setData(Qt::UserRole, favourite.key);
                item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
                item->setCheckState(favourite.exported ? Qt::Checked : Qt::Unchecked);
            }
            filling_ = false;
            emit databaseWorkDone();
        });
}

void PreferencesDialog::favouriteChanged(QListWidgetItem* item)
{
    if (filling_)
        return;
    const QString path = primaryDatabase_->text();
    const Environment& environment = context_.environment;
    const qint32 key = item->data(Qt::UserRole).toInt();
    const bool exported = item->checkState() == Qt::Checked;
    context_.database.request<bool>(
        this,
        [path, key, exported, &environment] {
            return SourceLists::setFavouriteExport(path, key, exported, environment);
        },
        [this, key, exported](const bool& stored) {
            if (!stored)
                showFavouriteMark(key, !exported);  // the table keeps its mark: so does the list
            emit databaseWorkDone();
        });
}

void PreferencesDialog::showFavouriteMark(qint32 key, bool exported)
{
    filling_ = true;
    for (int i = 0; i < favourites_->count(); ++i) {
        QListWidgetItem* item = favourites_->item(i);
        if (item->data(Qt::UserRole).toInt() == key)
            item->setCheckState(exported ? Qt::Checked : Qt::Unchecked);
    }
    filling_ = false;
}

void PreferencesDialog::importData()
{
    if (importFile_->text().isEmpty()) {
        context_.environment.boxes.show(tr("Data Import"), tr("Choose the file to import first"),
                                        MessageBoxes::Icon::Exclamation);
        importFile_->setFocus();
        return;
    }
    ImportRequest request;
    request.kind = feed_->isChecked() ? ImportRequest::Kind::Pages : ImportRequest::Kind::StationHistory;
    request.file = importFile_->text();
    request.database = primaryDatabase_->text();
    request.sourceID = sourceNumber_;
    request.cycleMinutes = cycleMinutes_->currentText().toInt();
    auto* import = new ImportDialog(request, context_.database, context_.environment, this);
    import->setAttribute(Qt::WA_DeleteOnClose);
    import->setModal(true);
    import->begin();
}
