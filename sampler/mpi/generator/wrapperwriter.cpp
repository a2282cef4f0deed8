#include "mpi/generator/wrapperwriter.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace fern::mpi::generator {

namespace {

// One function of one binding.
struct Entry {
    const CallRow &row;
    Binding binding;
    bool isLarge;

    std::string call() const { return isLarge ? row.name + "_c" : row.name; }
    bool isLater() const { return isLarge || row.isNew(); }
    int words() const { return binding == Binding::C ? row.arguments : row.fortranWords(); }
};

std::string changed(std::string text, int (*letter)(int))
{
    std::transform(text.begin(), text.end(), text.begin(),
        [letter](unsigned char c) { return static_cast<char>(letter(c)); });
    return text;
}

std::string capitalised(std::string word)
{
    word[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
    return word;
}

// All names of a function; of Fortran's one for each way in which compilers write names.
std::vector<std::string> symbolsOf(const Entry &entry)
{
    const std::string lower = "mpi_" + changed(entry.row.name, std::tolower);
    switch (entry.binding) {
    case Binding::C:
        return {"MPI_" + entry.call()};
    case Binding::Fortran:
        return {lower + "_", lower, lower + "__", changed(lower, std::toupper)};
    case Binding::Fortran2008:
        return {lower + "_f08_"};
    }
    return {};
}

// What is written "FIRST0, FIRST1" for so many words.
std::string list(const std::string &first, int words)
{
    std::string text;
    for (int i = 0; i < words; ++i)
        text += (i != 0 ? ", " : "") + first + std::to_string(i);
    return text;
}

std::string bindingName(Binding binding)
{
    switch (binding) {
    case Binding::C:
        return "Binding::C";
    case Binding::Fortran:
        return "Binding::Fortran";
    case Binding::Fortran2008:
        return "Binding::Fortran2008";
    }
    return {};
}

std::string ruleOf(const CallRow &row)
{
    if (row.rule.empty())
        return "payload::Nothing";
    std::string numbers;
    for (const int number : row.ruleArguments)
        numbers += (numbers.empty() ? "" : ", ") + std::to_string(number);
    return "payload::" + capitalised(row.rule) + (numbers.empty() ? "" : "<" + numbers + ">");
}

// Hooks that change what the sampler knows; other actions count.
bool isHook(const CallRow &row)
{
    const std::vector<std::string> hooks{"init", "finalize", "sessionInit", "sessionFinalize", "typeFree"};
    return std::find(hooks.begin(), hooks.end(), row.counted) != hooks.end();
}

std::string actionOf(const CallRow &row)
{
    if (row.counted.empty())
        return "action::None";
    if (row.countsBytes())
        return "action::On" + capitalised(row.counted) + "<" + ruleOf(row) + ", "
            + std::to_string(row.arguments - 1) + ">";
    return "action::" + capitalised(row.counted);
}

std::string bodyOf(const Entry &entry)
{
    const CallRow &row = entry.row;
    const std::string result = entry.binding == Binding::C ? "InC" : std::to_string(row.fortranArguments - 1);
    std::string head;
    if (isHook(row))
        head = "wrapAround<" + bindingName(entry.binding) + ", lifecycle::" + capitalised(row.counted) + ", ";
    else
        head = "wrap<" + bindingName(entry.binding) + ", Counts::" + (entry.isLarge ? "Large" : "Int")
            + ", spool::" + categoryFor(row.category) + ", " + actionOf(row) + ", ";
    const std::string arguments = list("a", entry.words());
    return "    static Known known;\n    return " + head + result + ">(\n        known, {\"" + entry.call()
        + "\", __builtin_return_address(0)}" + (arguments.empty() ? "" : ", ") + arguments + ");\n";
}

void write(std::ostream &stream, const Entry &entry)
{
    const std::string parameters = list("Word a", entry.words());
    std::string first;
    for (const std::string &symbol : symbolsOf(entry)) {
        const std::string function = (entry.isLater() ? "fern_later_" : "") + symbol;
        stream << "FERN_ENTRY Word " << function << '(' << parameters << ')';
        if (first.empty()) {
            stream << "\n{\n" << bodyOf(entry) << "}\n";
            first = function;
        } else {
            stream << " __attribute__((alias(\"" << first << "\")));\n";
        }
        if (entry.isLater())
            stream << "__asm__(\".symver " << function << "," << symbol << "@" << LaterVersion << "\");\n";
    }
    stream << '\n';
}

std::vector<Entry> entriesOf(const std::vector<CallRow> &rows, Binding binding)
{
    std::vector<Entry> entries;
    for (const CallRow &row : rows) {
        if (binding == Binding::C || row.isInFortran())
            entries.push_back({row, binding, false});
        if (binding == Binding::C && row.hasLarge)
            entries.push_back({row, binding, true});
    }
    return entries;
}

} // namespace

std::string wrappersOf(const std::vector<CallRow> &rows, Binding binding)
{
    std::ostringstream stream;
    stream << "// Made by make-mpi-wrappers from mpicalls.table.\n\n"
              "#include \"mpi/wrapper.h\"\n\n"
              "#define FERN_ENTRY extern \"C\" __attribute__((visibility(\"default\")))\n\n"
              "using fern::Word;\n"
              "using namespace fern::mpi;\n"
              "namespace spool = fern::spool;\n\n";
    for (const Entry &entry : entriesOf(rows, binding))
        write(stream, entry);
    return stream.str();
}

std::string symbolsOf(const std::vector<CallRow> &rows)
{
    std::string text;
    for (const Binding binding : {Binding::C, Binding::Fortran, Binding::Fortran2008}) {
        for (const Entry &entry : entriesOf(rows, binding)) {
            for (const std::string &symbol : symbolsOf(entry))
                text += symbol + (entry.isLater() ? std::string("@") + LaterVersion : "") + '\n';
        }
    }
    return text;
}

} // namespace fern::mpi::generator
