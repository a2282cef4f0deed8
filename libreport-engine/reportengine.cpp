#include "reportengine.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <clocale>

namespace brivane {

namespace {

const char kScriptFolder[] = ":quillon-report/custom/";

/// What the script half of the engine is made of; each finds what it needs in those before it.
const char *const kScripts[]
    = {"polyfill.js", "handlebars.min-v4.0.5.js", "htmlparser.js", "brivane.js", "report-engine.js"};

void store(QString *error, const QString &text)
{
    if (error)
        *error = text;
}

bool readAll(QFile &file, QString *text, QString *error)
{
    if (!file.open(QIODevice::ReadOnly)) {
        store(error, QObject::tr("can't read %1: %2").arg(file.fileName(), file.errorString()));
        return false;
    }
    *text = QString::fromUtf8(file.readAll());
    file.close();
    return true;
}

QScriptValue print(QScriptContext *context, QScriptEngine *engine)
{
    QStringList words;
    for (int i = 0; i < context->argumentCount(); ++i)
        words.append(context->argument(i).toString());
    qDebug().noquote() << words.join(QLatin1Char(' '));
    return engine->undefinedValue();
}

/// Null when there is an application.
QCoreApplication *makeMissingApplication()
{
    static int argc = 1;
    static char name[] = "report-engine";
    static char *argv[] = {name, nullptr};
    if (QCoreApplication::instance())
        return nullptr;
    const QByteArray locale = std::setlocale(LC_ALL, nullptr);
    QCoreApplication *application = new QCoreApplication(argc, argv);
    std::setlocale(LC_ALL, locale.constData());
    return application;
}

/// Browsers too old to draw the chart leave its scripts alone.
const char kOldBrowsers[] = "<!--[if lte IE 8]><script>window.LTE_IE_8 = true;</script><![endif]-->";

const char kStartUp[] = "<script>\n"
                        "ReportEngine.onInit(function () {\n"
                        "  var data = brivane.getElementJson('brivane-report-data');\n"
                        "  brivane.setElementInnerHtml('brivane-report',\n"
                        "    ReportEngine.render(%1[0], 'html', data));\n"
                        "  ReportEngine.invokeAfterRenderFunctions({}, data);\n"
                        "});\n"
                        "</script>";

QString scriptElement(const QString &source)
{
    return QStringLiteral("<script type=\"text/javascript\" src=\"%1\"></script>").arg(source);
}

QString partialElement(const QString &name, const QString &source, ReportFormat format)
{
    QString type = QStringLiteral("text/x.brivane-template");
    if (format == ReportFormat::Html)
        type = QStringLiteral("text/html");
    else if (format == ReportFormat::Text)
        type = QStringLiteral("text/plain");
    return QStringLiteral("<script id=\"%1\" type=\"%2\">\n%3\n</script>").arg(name, type, source);
}

/// No value in the data can end the element that holds it, or look like an element of the page.
QString jsonForPage(const QJsonDocument &document)
{
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact))
        .replace(QLatin1Char('<'), QLatin1String("\\u003c"));
}

} // namespace

ReportEngine::ReportEngine()
    : mApplication(makeMissingApplication())
{
    mQtScriptEngine.globalObject().setProperty(QStringLiteral("print"), mQtScriptEngine.newFunction(print));
    for (const char *name : kScripts) {
        QFile file(QLatin1String(kScriptFolder) + QLatin1String(name));
        QString source;
        QString error;
        if (!readAll(file, &source, &error) || !evaluate(source, file.fileName(), &error))
            qWarning().noquote() << QObject::tr("The report engine lacks a script: %1").arg(error);
    }
}

ReportEngine::~ReportEngine() = default;

bool ReportEngine::loadPartialFromFile(const QString &name, QFile &file, ReportFormat format, QString *error)
{
    QString source;
    return readAll(file, &source, error) && loadPartialFromSource(name, source, format, error);
}

bool ReportEngine::loadPartialFromSource(
    const QString &name, const QString &source, ReportFormat format, QString *error)
{
    mLoadedPartials[format][name] = source;
    QString failure;
    call(QStringLiteral("registerPartial"), {name, format.toString(), source}, &failure);
    // cppcheck-suppress knownConditionTrueFalse; call() fills it
    if (failure.isEmpty())
        return true;
    store(error, failure);
    return false;
}

bool ReportEngine::loadPartialsFromFolder(const QDir &folder, ReportFormat format, QString *error)
{
    const QFileInfoList entries = folder.entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo &entry : entries) {
        QFile file(entry.filePath());
        if (!loadPartialFromFile(entry.baseName(), file, format, error))
            return false;
    }
    return true;
}

bool ReportEngine::loadJavaScriptFromFile(QFile &file, QString *error)
{
    QString source;
    if (!readAll(file, &source, error))
        return false;
    mLoadedScripts.append(QFileInfo(file).fileName());
    return evaluate(source, file.fileName(), error);
}

bool ReportEngine::loadJavaScriptFromSource(const QString &source, QString *error)
{
    // The page refers to its scripts by address; a script that lies in no file is its own address.
    mLoadedScripts.append(QStringLiteral("data:text/javascript;charset=utf-8;base64,")
        + QString::fromLatin1(source.toUtf8().toBase64()));
    return evaluate(source, QString(), error);
}

bool ReportEngine::loadAdditionalHeadContent(const QString &content)
{
    mHeadContent.append(content);
    return true;
}

QString ReportEngine::renderStatic(
    const QJsonObject &data, const QString &templateName, ReportFormat format, QString *error)
{
    // As text, since the conversion of values would turn null into an object.
    const QString json = QString::fromUtf8(QJsonDocument(data).toJson(QJsonDocument::Compact));
    const QScriptValue parse
        = mQtScriptEngine.globalObject().property(QStringLiteral("JSON")).property(QStringLiteral("parse"));
    const QScriptValue document = QScriptValue(parse).call(QScriptValue(), QScriptValueList{json});
    return call(QStringLiteral("render"), {templateName, format.toString(), document}, error).toString();
}

QString ReportEngine::renderDynamicHtml(const QJsonObject &data, const QString &templateName, QString *error)
{
    if (!mLoadedPartials.value(ReportFormat::Html).contains(templateName)
        && !mLoadedPartials.value(ReportFormat::All).contains(templateName)) {
        store(error, QObject::tr("there is no template \"%1\" for html").arg(templateName));
        return QString();
    }
    QStringList page = {QStringLiteral("<!DOCTYPE html>"), QStringLiteral("<html lang=\"en\">"),
        QStringLiteral("<head>"), QStringLiteral("<meta charset=\"utf-8\">"),
        QStringLiteral("<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"),
        QLatin1String(kOldBrowsers)};
    page += mHeadContent;
    for (const char *name : kScripts)
        page.append(scriptElement(QLatin1String(name)));
    for (const QString &source : qAsConst(mLoadedScripts))
        page.append(scriptElement(source));
    for (auto format = mLoadedPartials.cbegin(); format != mLoadedPartials.cend(); ++format) {
        for (auto partial = format->cbegin(); partial != format->cend(); ++partial)
            page.append(partialElement(partial.key(), partial.value(), format.key()));
    }
    page += {QStringLiteral("</head>"), QStringLiteral("<body>"),
        QStringLiteral("<main id=\"brivane-report\"></main>"),
        QStringLiteral("<noscript><p>This report draws itself with scripts, and they are switched off "
                       "here.</p></noscript>"),
        QStringLiteral("<script id=\"brivane-report-data\" type=\"application/json\">%1</script>")
            .arg(jsonForPage(QJsonDocument(data))),
        QString::fromLatin1(kStartUp).arg(jsonForPage(QJsonDocument(QJsonArray{templateName}))),
        QStringLiteral("</body>"), QStringLiteral("</html>"), QString()};
    return page.join(QLatin1Char('\n'));
}

/// Runs a script; false, with the place and the text of its exception in `error`, when it throws.
bool ReportEngine::evaluate(const QString &source, const QString &fileName, QString *error)
{
    mQtScriptEngine.evaluate(source, fileName);
    if (!mQtScriptEngine.hasUncaughtException())
        return true;
    store(error,
        QStringLiteral("%1:%2: %3")
            .arg(fileName, QString::number(mQtScriptEngine.uncaughtExceptionLineNumber()),
                mQtScriptEngine.uncaughtException().toString()));
    mQtScriptEngine.clearExceptions();
    return false;
}

/// Calls an operation of the script object ReportEngine; an empty text, with the reason in `error`, when it
/// throws or isn't there.
QScriptValue ReportEngine::call(const QString &function, const QScriptValueList &arguments, QString *error)
{
    const QScriptValue object = mQtScriptEngine.globalObject().property(QStringLiteral("ReportEngine"));
    QScriptValue operation = object.property(function);
    if (!operation.isFunction()) {
        store(error, QObject::tr("the script operation ReportEngine.%1 is missing").arg(function));
        return QScriptValue(QString());
    }
    const QScriptValue result = operation.call(object, arguments);
    if (!mQtScriptEngine.hasUncaughtException())
        return result;
    store(error, mQtScriptEngine.uncaughtException().toString());
    mQtScriptEngine.clearExceptions();
    return QScriptValue(QString());
}

} // namespace brivane
