#include "api/reportdefinition.h"

#include "api/reportdefinitionmessagehandler.h"

#include <QByteArray>
#include <QFile>
#include <QRegExp>
#include <QScopeGuard>
#include <QScopedPointer>
#include <QSet>
#include <QSourceLocation>
#include <QXmlSchema>
#include <QXmlSchemaValidator>
#include <QXmlStreamReader>

#include <mutex>
#include <new>

namespace quillon::report {

namespace {

void setText(QString *error, const QString &text)
{
    if (error)
        *error = text;
}

// What is said about a file that can't be read, filled with its name.
struct FileMessages {
    const char *doesNotExist;
    const char *couldNotBeOpened;
    const char *isNotReadable;
};

const FileMessages SchemaFileMessages = {
    QT_TRANSLATE_NOOP("QObject", "Schema file '%1' does not exist"),
    QT_TRANSLATE_NOOP("QObject", "Schema file '%1' could not be opened for reading"),
    QT_TRANSLATE_NOOP("QObject", "Schema file '%1' is not readable"),
};

const FileMessages DocumentFileMessages = {
    QT_TRANSLATE_NOOP("QObject", "File '%1' does not exist"),
    QT_TRANSLATE_NOOP("QObject", "File '%1' could not be opened for reading"),
    QT_TRANSLATE_NOOP("QObject", "File '%1' is not readable"),
};

bool readFile(const QString &filename, const FileMessages &messages, QByteArray &content, QString *error)
{
    QFile file(filename);
    const char *problem = nullptr;
    if (!file.exists())
        problem = messages.doesNotExist;
    else if (!file.open(QIODevice::ReadOnly))
        problem = messages.couldNotBeOpened;
    else if (!file.isReadable())
        problem = messages.isNotReadable;
    if (problem) {
        setText(error, QObject::tr(problem).arg(filename));
        return false;
    }
    content = file.readAll();
    return true;
}

// A search for the bytes, since the schema engine's own words about a missing namespace help nobody.
bool hasNamespaceAttribute(const QByteArray &xml, const QUrl &documentUrl, QString *error)
{
    if (xml.contains(QByteArray("xmlns=\"") + ReportXmlNamespace + '"'))
        return true;
    const QString document = documentUrl.isEmpty() ? QString() : QLatin1Char(' ') + documentUrl.toString();
    setText(error,
        QObject::tr(
            "The report definition XML%1 does not have the attribute xmlns=\"%2\" set in the <report> "
            "or <partialReport> element.")
            .arg(document, QLatin1String(ReportXmlNamespace)));
    return false;
}

// The schema engine calls itself for each level, and takes time with the square of their number.
const int MaxElementDepth = 200;

// The schema engine numbers all names that it ever meets: 510 namespaces and as many prefixes, and 4,094
// names of elements and attributes (qxmlname.h). With one more it reads memory that isn't its own.
const int MaxNamespaces = 200;
const int MaxNames = 2000;

struct Names {
    QSet<QString> namespaces;
    QSet<QString> prefixes;
    QSet<QString> local;

    void add(const QStringRef &uri, const QStringRef &prefix, const QStringRef &name)
    {
        namespaces.insert(uri.toString());
        prefixes.insert(prefix.toString());
        local.insert(name.toString());
    }
    void add(const QXmlStreamReader &element)
    {
        add(element.namespaceUri(), element.prefix(), element.name());
        for (const QXmlStreamAttribute &attribute : element.attributes())
            add(attribute.namespaceUri(), attribute.prefix(), attribute.name());
        for (const QXmlStreamNamespaceDeclaration &declared : element.namespaceDeclarations())
            add(declared.namespaceUri(), declared.prefix(), QStringRef());
    }
    void add(const Names &others)
    {
        namespaces.unite(others.namespaces);
        prefixes.unite(others.prefixes);
        local.unite(others.local);
    }
    bool areTooMany() const
    {
        return namespaces.size() > MaxNamespaces || prefixes.size() > MaxNamespaces
            || local.size() > MaxNames;
    }
};

bool namesSchema(const QXmlStreamAttributes &attributes)
{
    const QString instance = QStringLiteral("http://www.w3.org/2001/XMLSchema-instance");
    return attributes.hasAttribute(instance, QStringLiteral("schemaLocation"))
        || attributes.hasAttribute(instance, QStringLiteral("noNamespaceSchemaLocation"));
}

// Stops what the schema engine must not see: a document that would end the stack, and one that has it fetch
// files, from other machines, too. What isn't well-formed passes: the engine says it better. Gives the
// document's names.
bool isSafeForSchemaEngine(const QByteArray &xml, const QUrl &documentUrl, Names *names, QString *error)
{
    QXmlStreamReader reader(xml);
    for (int depth = 0; !reader.atEnd();) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        QString problem;
        if (token == QXmlStreamReader::StartElement)
            names->add(reader);
        if (token == QXmlStreamReader::EndElement)
            --depth;
        else if (token == QXmlStreamReader::StartElement && ++depth > MaxElementDepth)
            problem = QObject::tr("Elements are nested more than %1 deep").arg(MaxElementDepth);
        else if (token == QXmlStreamReader::StartElement && namesSchema(reader.attributes()))
            problem
                = QObject::tr("Element '%1' names a schema. Reports have one schema, which needs no naming")
                      .arg(reader.name().toString());
        else if (names->areTooMany())
            problem = QObject::tr("There are more than %1 names, or more than %2 namespaces")
                          .arg(QString::number(MaxNames), QString::number(MaxNamespaces));
        if (!problem.isEmpty()) {
            ReportDefinition::writeError(error, reader, documentUrl, problem);
            return false;
        }
    }
    return true;
}

std::mutex validationMutex;

// The patterns of the built-in types that definitions and their schema use. When the last QRegExp with a
// pattern goes, its destructor puts the compiled pattern into a cache: that allocates memory, and where there
// is none the process ends, since destructors must not throw. It doesn't happen while another one lives.
struct KeptPatterns {
    const QRegExp name{QStringLiteral("\\i\\c*"), Qt::CaseSensitive, QRegExp::W3CXmlSchema11};
    const QRegExp integer{QStringLiteral("[\\-+]?[0-9]+"), Qt::CaseSensitive, QRegExp::W3CXmlSchema11};
};

// A schema with the validator for it. Both stay while there is room for names: Qt takes longer to load a
// schema than to check a report, never gives some 60 KB of it back, and makes an object for network access
// with each of the two.
struct Validation {
    const KeptPatterns patterns{};
    QXmlSchema schema;
    QXmlSchemaValidator validator;
    QByteArray loadedXml;
    Names names; // of the documents so far
};

// The validation by the schema that is given, under validationMutex; the last schema is kept as long as there
// is room for the names of the next document.
Validation &loadedValidation(const QByteArray &xml, const QUrl &url, const Names &added)
{
    static Validation *validation = nullptr;
    static bool hasBroken = false;
    // Where memory runs out while Qt sets up what the first of them needs, locks of its own can stay locked:
    // better no second attempt than one that hangs.
    if (hasBroken)
        throw std::bad_alloc();
    if (!validation) {
        hasBroken = true;
        validation = new Validation;
        hasBroken = false;
    }
    validation->names.add(added);
    if (validation->names.areTooMany()) {
        Validation *const old = validation; // the patterns of one have to live while those of the other go
        validation = new Validation;
        delete old;
        validation->names.add(added);
    }
    if (validation->loadedXml != xml || validation->schema.documentUri() != url) {
        validation->loadedXml.clear();
        validation->schema.load(xml, url);
        if (validation->schema.isValid())
            validation->validator.setSchema(validation->schema);
        validation->loadedXml = xml;
    }
    return *validation;
}

// Turns all identity constraints of the schema into one long comment. The reader tests them itself: its
// messages say what to do, and partial reports refer to what other documents declare.
void disarmIdConstraints(QByteArray &schema)
{
    schema.replace("<!-- Begin unique ID constraints -->", "<!-- Begin unique ID constraints");
    schema.replace("<!-- End unique ID constraints -->", "End unique ID constraints -->");
}

QString locatedMessage(
    const char *format, const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, const QString &message)
{
    return QObject::tr(format).arg(xmlDocumentUrl.toString(), QString::number(xml.lineNumber()),
        QString::number(xml.columnNumber()), message);
}

// The schema engine describes problems in markup.
QString plainText(const QString &markup)
{
    QString text;
    QXmlStreamReader xml(markup);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::Characters)
            text += xml.text();
    }
    return text;
}

} // namespace

ReportDefinition::MessageHandler::MessageHandler(
    QString *dest, QAbstractMessageHandler *next, QObject *parent)
    : QAbstractMessageHandler(parent)
    , mDest(dest)
    , mNextInChain(next)
{
}

void ReportDefinition::MessageHandler::handleMessage(
    QtMsgType type, const QString &description, const QUrl &identifier, const QSourceLocation &sourceLocation)
{
    if (mDest) {
        if (!mDest->isEmpty())
            *mDest += QLatin1String("\n\n");
        *mDest += QObject::tr("%1 at line %2 column %3. %4")
                      .arg(sourceLocation.uri().toString(), QString::number(sourceLocation.line()),
                          QString::number(sourceLocation.column()), plainText(description));
    }
    if (mNextInChain)
        mNextInChain->message(type, description, identifier, sourceLocation);
}

bool ReportDefinition::validate(const QByteArray &xml, const QUrl &documentUrl, QString schemaFilename,
    QString *error, ValidationErrorMode validationErrorMode)
{
    if (!hasNamespaceAttribute(xml, documentUrl, error))
        return false;
    QByteArray schemaXml;
    if (!readFile(schemaFilename, SchemaFileMessages, schemaXml, error))
        return false;
    disarmIdConstraints(schemaXml);

    const std::lock_guard<std::mutex> lock(validationMutex);
    Names names;
    QString danger;
    const bool isSafe = isSafeForSchemaEngine(xml, documentUrl, &names, &danger);
    Validation &validation
        = loadedValidation(schemaXml, QUrl::fromLocalFile(schemaFilename), isSafe ? names : Names());
    if (!validation.schema.isValid()) {
        setText(error, QObject::tr("Schema file '%1' is not valid").arg(schemaFilename));
        return false;
    }
    if (!isSafe) {
        setText(error, danger);
        return false;
    }
    QAbstractMessageHandler *next
        = validationErrorMode == VerboseValidation ? validation.schema.messageHandler() : nullptr;
    const QScopedPointer<MessageHandler> handler(new MessageHandler(error, next, nullptr));
    validation.validator.setMessageHandler(handler.data());
    const auto restore = qScopeGuard([&] { validation.validator.setMessageHandler(nullptr); });
    return validation.validator.validate(xml, documentUrl);
}

ReportDefinition *ReportDefinition::createFromXml(const QByteArray &xml, const QUrl &documentUrl,
    QString schemaFilename, QString *error, ValidationErrorMode validationErrorMode, const Config &config)
{
    setText(error, QString());
    if (!schemaFilename.isEmpty() && !validate(xml, documentUrl, schemaFilename, error, validationErrorMode))
        return nullptr;
    QScopedPointer<ReportDefinition> definition(new ReportDefinition);
    definition->setConfig(config);
    QXmlStreamReader reader(xml);
    return definition->readXml(reader, documentUrl, FullReport, error) ? definition.take() : nullptr;
}

ReportDefinition *ReportDefinition::createFromXml(const QByteArray &xml, const QUrl &documentUrl,
    QString *error, ValidationErrorMode validationErrorMode, const Config &config)
{
    return createFromXml(xml, documentUrl, DefaultSchemaFilename, error, validationErrorMode, config);
}

ReportDefinition *ReportDefinition::createFromFile(const QString &xmlFilename, const QString &schemaFilename,
    QString *error, ValidationErrorMode validationErrorMode, const Config &config)
{
    setText(error, QString());
    QByteArray xml;
    if (!readFile(xmlFilename, DocumentFileMessages, xml, error))
        return nullptr;
    return createFromXml(
        xml, QUrl::fromLocalFile(xmlFilename), schemaFilename, error, validationErrorMode, config);
}

ReportDefinition *ReportDefinition::createFromFile(
    const QString &xmlFilename, QString *error, ValidationErrorMode validationErrorMode, const Config &config)
{
    return createFromFile(xmlFilename, DefaultSchemaFilename, error, validationErrorMode, config);
}

ReportDefinition *ReportDefinition::createFromMetrics(
    const MetricDef::List &metrics, const QString &reportName, const QUrl &documentUrl)
{
    QScopedPointer<ReportDefinition> definition(new ReportDefinition);
    definition->mReportName = reportName;
    definition->mReportDocumentUrl = documentUrl;
    definition->setConfig(Config::withoutPrefixesOrReservedIds());
    definition->setMetricDefinitionList(metrics);
    return definition.take();
}

bool ReportDefinition::appendPartialReportFromXml(const QByteArray &xml, const QUrl &documentUrl,
    const QString &schemaFilename, QString *error, ValidationErrorMode validationErrorMode)
{
    setText(error, QString());
    if (!schemaFilename.isEmpty() && !validate(xml, documentUrl, schemaFilename, error, validationErrorMode))
        return false;
    QXmlStreamReader reader(xml);
    return readXml(reader, documentUrl, PartialReport, error);
}

bool ReportDefinition::appendPartialReportFromXml(
    const QByteArray &xml, const QUrl &documentUrl, QString *error, ValidationErrorMode validationErrorMode)
{
    return appendPartialReportFromXml(xml, documentUrl, DefaultSchemaFilename, error, validationErrorMode);
}

bool ReportDefinition::appendPartialReportFromFile(const QString &xmlFilename, const QString &schemaFilename,
    QString *error, ValidationErrorMode validationErrorMode)
{
    setText(error, QString());
    QByteArray xml;
    if (!readFile(xmlFilename, DocumentFileMessages, xml, error))
        return false;
    return appendPartialReportFromXml(
        xml, QUrl::fromLocalFile(xmlFilename), schemaFilename, error, validationErrorMode);
}

bool ReportDefinition::appendPartialReportFromFile(
    const QString &xmlFilename, QString *error, ValidationErrorMode validationErrorMode)
{
    return appendPartialReportFromFile(xmlFilename, DefaultSchemaFilename, error, validationErrorMode);
}

void ReportDefinition::writeError(
    QString *error, const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, const QString &message)
{
    setText(error,
        locatedMessage(QT_TRANSLATE_NOOP("QObject", "Error in %1 at line %2 column %3: %4"), xml,
            xmlDocumentUrl, message));
}

void ReportDefinition::writeWarning(
    QString *error, const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, const QString &message)
{
    setText(error,
        locatedMessage(QT_TRANSLATE_NOOP("QObject", "Warning in %1 at line %2 column %3: %4"), xml,
            xmlDocumentUrl, message));
}

} // namespace quillon::report
