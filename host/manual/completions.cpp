#include "manual/manualtexts.h"

namespace {

constexpr int BriefLength = 70;

enum class Value { None, File, Metrics, Other };

Value valueOf(const BaseArgParser::Option &option)
{
    if (option.parameter.isEmpty())
        return Value::None;
    if (option.parameter == QLatin1String("FILE"))
        return Value::File;
    return option.parameter == QLatin1String("METRICS") ? Value::Metrics : Value::Other;
}

QList<BaseArgParser::Option> shownOptions(const Program &program)
{
    QList<BaseArgParser::Option> shown;
    for (const BaseArgParser::Option &option : program.parser->options()) {
        if (option.shown)
            shown.append(option);
    }
    return shown;
}

// "-o --output"
QStringList spellings(const BaseArgParser::Option &option)
{
    QStringList names;
    for (const QString &shortName : option.shortNames)
        names.append(BaseArgParser::hyphenate(shortName));
    names.append(BaseArgParser::hyphenate(option.name));
    return names;
}

// The spellings of all options that take such a value, as alternatives of a shell's case.
QString alternatives(const Program &program, Value value)
{
    QStringList names;
    for (const BaseArgParser::Option &option : shownOptions(program)) {
        if (valueOf(option) == value)
            names += spellings(option);
    }
    return names.join(QLatin1Char('|'));
}

QString quoted(QString text)
{
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QLatin1String("'\\''")) + QLatin1Char('\'');
}

QString functionName(const Program &program)
{
    return QLatin1Char('_') + QString(program.name).replace(QLatin1Char('-'), QLatin1Char('_'));
}

const char BashText[] = R"(# bash completion for %1
%2()
{
    local cur=${COMP_WORDS[COMP_CWORD]} option= word i
    local metrics="%3"
    COMPREPLY=()
    [[ $cur == "=" ]] && cur=
    for ((i = 1; i < COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if [[ $word == "=" ]]; then
            continue # stands between an option and its value
        fi
        if [[ -n $option ]]; then
            option=
            continue
        fi
        case $word in
            %4|%5|%6) option=$word ;;
            --) ((++i)); break ;;
            -*|*.fern) ;;
            *) break ;;
        esac
    done
    if ((i < COMP_CWORD)); then
        # The rest of the line is the program's own.
        if declare -F _command_offset > /dev/null; then
            _command_offset $i
        else
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            compopt -o filenames 2> /dev/null
        fi
        return
    fi
    case $option in
        %4)
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            compopt -o filenames 2> /dev/null ;;
        %5)
            local before=
            [[ $cur == *,* ]] && before=${cur%,*},
            mapfile -t COMPREPLY < <(compgen -P "$before" -W "$metrics" -- "${cur##*,}") ;;
        %6) ;;
        *)
            if [[ $cur == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "%7" -- "$cur")
            else
                mapfile -t COMPREPLY < <(compgen -c -- "$cur"; compgen -f -- "$cur")
                compopt -o filenames 2> /dev/null
            fi ;;
    esac
}
complete -F %2 %1
)";

// Replaces %1, %2, ... one by one, so that values may hold such marks themselves.
QString filled(const char *text, const QStringList &values)
{
    QString result;
    const QString form = QLatin1String(text);
    for (int i = 0; i < form.size(); ++i) {
        const int number
            = form.at(i) == QLatin1Char('%') && i + 1 < form.size() ? form.at(i + 1).digitValue() : -1;
        if (number >= 1 && number <= values.size()) {
            result += values.at(number - 1);
            ++i;
        } else {
            result += form.at(i);
        }
    }
    return result;
}

QString zshAction(Value value, const QString &parameter)
{
    switch (value) {
    case Value::None:
        return QString();
    case Value::File:
        return QStringLiteral(":%1:_files").arg(parameter);
    case Value::Metrics:
        return QStringLiteral(":%1:_values -s , metric $metrics").arg(parameter);
    case Value::Other:
        break;
    }
    return QStringLiteral(":%1: ").arg(parameter);
}

// '(-o --output)'{-o+,--output=}'[text]:FILE:_files'
QString zshSpecification(const BaseArgParser::Option &option)
{
    QString text = brief(option.documentation);
    text.replace(QLatin1Char('['), QLatin1String("\\[")).replace(QLatin1Char(']'), QLatin1String("\\]"));
    const bool hasValue = !option.parameter.isEmpty();
    QStringList names;
    for (const QString &shortName : option.shortNames)
        names.append(BaseArgParser::hyphenate(shortName) + QLatin1String(hasValue ? "+" : ""));
    names.append(BaseArgParser::hyphenate(option.name) + QLatin1String(hasValue ? "=" : ""));
    const QString joined = names.size() == 1
        ? names.first()
        : QLatin1Char('{') + names.join(QLatin1Char(',')) + QLatin1Char('}');
    return quoted(QLatin1Char('(') + spellings(option).join(QLatin1Char(' ')) + QLatin1Char(')')) + joined
        + quoted(QLatin1Char('[') + text + QLatin1Char(']') + zshAction(valueOf(option), option.parameter));
}

} // namespace

QString brief(const QString &documentation)
{
    int end = documentation.size();
    for (const char *pause : {". ", "; ", ": "}) {
        const int at = documentation.indexOf(QLatin1String(pause));
        end = at >= 0 ? qMin(end, at) : end;
    }
    QString text = documentation.left(end);
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    if (text.size() > BriefLength)
        text = text.left(text.lastIndexOf(QLatin1Char(' '), BriefLength - 4)) + QLatin1String(" ...");
    return text;
}

QString bashCompletion(const Program &program)
{
    QStringList all;
    for (const BaseArgParser::Option &option : shownOptions(program))
        all += spellings(option);
    return filled(BashText,
        {program.name, functionName(program), program.metrics.join(QLatin1Char(' ')),
            alternatives(program, Value::File), alternatives(program, Value::Metrics),
            alternatives(program, Value::Other), all.join(QLatin1Char(' '))});
}

QString zshCompletion(const Program &program)
{
    QString text = QStringLiteral("#compdef %1\n\nlocal -a metrics\nmetrics=(%2)\n_arguments -s -S \\\n")
                       .arg(program.name, program.metrics.join(QLatin1Char(' ')));
    for (const BaseArgParser::Option &option : shownOptions(program))
        text += QLatin1String("  ") + zshSpecification(option) + QLatin1String(" \\\n");
    return text
        + QLatin1String("  '(-)1:program or profile:{ _command_names -e || _files }' \\\n"
                        "  '*::arguments:_normal'\n");
}

QString fishCompletion(const Program &program)
{
    // Behind the program's name its own completions apply.
    QString text = QStringLiteral("# fish completion for %1\n"
                                  "complete -c %1 -x -a '(__fish_complete_subcommand)'\n")
                       .arg(program.name);
    for (const BaseArgParser::Option &option : shownOptions(program)) {
        text += QStringLiteral("complete -c %1").arg(program.name);
        for (const QString &shortName : option.shortNames)
            text += QStringLiteral(" -s %1").arg(shortName);
        text += QStringLiteral(" -l %1").arg(option.name);
        switch (valueOf(option)) {
        case Value::None:
            break;
        case Value::File:
            text += QLatin1String(" -r -F");
            break;
        case Value::Metrics:
            text += QStringLiteral(" -x -a %1").arg(quoted(program.metrics.join(QLatin1Char(' '))));
            break;
        case Value::Other:
            text += QLatin1String(" -x");
            break;
        }
        QString documentation = brief(option.documentation);
        documentation.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
            .replace(QLatin1Char('\''), QLatin1String("\\'"));
        text += QStringLiteral(" -d '%1'\n").arg(documentation);
    }
    return text;
}
