#ifndef REPORTENGINE_H
#define REPORTENGINE_H

#include "reportengineexport.h"
#include "reportformat.h"

#include <QMap>
#include <QScopedPointer>
#include <QScriptEngine>
#include <QString>
#include <QStringList>

class QCoreApplication;
class QDir;
class QFile;
class QJsonObject;

namespace brivane {

/// A script engine with a template engine on top, for one report: templates (partials) and scripts are loaded
/// into it, and then a template is rendered with a JSON document. Its script half, the global ReportEngine
/// and what that needs, is read from the resource folder ":quillon-report/custom".
///
/// A program needn't have a QCoreApplication, though Qt's script engine does: one is made for the engine's
/// life then, and the program's locale stays as it was.
///
/// Nothing here is shared between engines, and an engine belongs to one thread. Where an operation takes
/// `error`, that is a null pointer or a string that receives the reason of a failure and is left alone
/// otherwise.
class REPORT_ENGINE_EXPORT ReportEngine {
public:
    /// Makes the script environment: the globals Handlebars, htmlparser, brivane, ReportEngine and print,
    /// which writes a debug message; neither document nor window. A script that can't be read or run costs a
    /// warning.
    ReportEngine();
    ~ReportEngine();

    /// Reads the file and registers its text as the partial `name`. False when the file can't be read or the
    /// script function refuses it. A fault in the template itself shows when it is first rendered.
    bool loadPartialFromFile(const QString &name, QFile &file, ReportFormat format, QString *error);
    bool loadPartialFromSource(
        const QString &name, const QString &source, ReportFormat format, QString *error);
    /// Every file of the folder, in the order of their names, under its base name. Stops at the first
    /// failure.
    bool loadPartialsFromFolder(const QDir &folder, ReportFormat format, QString *error);

    /// Runs a script here and keeps it for the page. False when it can't be read or throws.
    bool loadJavaScriptFromFile(QFile &file, QString *error);
    bool loadJavaScriptFromSource(const QString &source, QString *error);

    /// Keeps a snippet of HTML for the head of the page; always true.
    bool loadAdditionalHeadContent(const QString &content);

    /// The text of the template `templateName` with `data` as its context; empty when the script throws.
    QString renderStatic(
        const QJsonObject &data, const QString &templateName, ReportFormat format, QString *error);

    /// A whole page that draws itself in the browser: it carries the partials, the data, and references to
    /// the scripts by their names in the resource folder. An empty text when no such template was loaded.
    QString renderDynamicHtml(const QJsonObject &data, const QString &templateName, QString *error);

private:
    QScopedPointer<QCoreApplication> mApplication;
    QScriptEngine mQtScriptEngine;
    QStringList mLoadedScripts;
    QMap<ReportFormat, QMap<QString, QString>> mLoadedPartials;
    QStringList mHeadContent;

    bool evaluate(const QString &source, const QString &fileName, QString *error);
    QScriptValue call(const QString &function, const QScriptValueList &arguments, QString *error);
};

} // namespace brivane

#endif
