#include "mpi/generator/calltable.h"

#include <algorithm>
#include <istream>
#include <map>
#include <sstream>

namespace fern::mpi::generator {

namespace {

using Columns = std::vector<std::string>;

enum Column { Name, Arguments, FortranArguments, Texts, Since, Large, Category, Bytes, Counted, ColumnCount };

// Actions that look at a call's bytes.
const std::vector<std::string> CountingActions{"call", "status", "request", "starts"};
const std::vector<std::string> OtherActions{"wait", "waitall", "waitany", "waitsome", "test", "testall",
    "testany", "testsome", "start", "startall", "cancel", "requestFree", "init", "finalize", "sessionInit",
    "sessionFinalize", "typeFree"};

const std::map<std::string, std::string> Categories{{"p2p", "MpiPointToPoint"},
    {"collective", "MpiCollective"}, {"read", "MpiIoRead"}, {"write", "MpiIoWrite"}, {"io", "IoOther"},
    {"other", "MpiOther"}};

bool contains(const std::vector<std::string> &words, const std::string &word)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool isNumber(const std::string &text)
{
    return !text.empty() && text.size() <= 2 && text.find_first_not_of("0123456789") == std::string::npos;
}

Columns columnsOf(const std::string &line)
{
    std::istringstream words(line.substr(0, line.find('#')));
    Columns columns;
    std::string word;
    while (words >> word)
        columns.push_back(word);
    return columns;
}

std::string quoted(const std::string &word)
{
    return '"' + word + '"';
}

// "name(1,2)" or "name"; gives a complaint.
std::string readRule(const std::string &text, CallRow &row)
{
    if (text == "-")
        return {};
    const std::size_t open = text.find('(');
    row.rule = text.substr(0, open);
    if (open == std::string::npos)
        return {};
    if (row.rule.empty() || text.back() != ')')
        return quoted(text) + " is no rule for bytes";
    std::istringstream numbers(text.substr(open + 1, text.size() - open - 2));
    std::string number;
    while (std::getline(numbers, number, ',')) {
        if (!isNumber(number) || std::stoi(number) >= row.arguments)
            return quoted(number) + " is no argument of " + row.name;
        row.ruleArguments.push_back(std::stoi(number));
    }
    return {};
}

std::string readNumbers(const Columns &columns, CallRow &row)
{
    for (const Column column : {Arguments, FortranArguments, Texts}) {
        if (!isNumber(columns[column]))
            return quoted(columns[column]) + " is no number of arguments";
    }
    row.arguments = std::stoi(columns[Arguments]);
    row.fortranArguments = std::stoi(columns[FortranArguments]);
    row.texts = std::stoi(columns[Texts]);
    return row.texts <= row.fortranArguments ? "" : "more texts than arguments";
}

// Gives a complaint.
std::string readRow(const Columns &columns, CallRow &row)
{
    if (columns.size() != ColumnCount)
        return std::to_string(columns.size()) + " columns instead of " + std::to_string(ColumnCount);
    row.name = columns[Name];
    if (std::string complaint = readNumbers(columns, row); !complaint.empty())
        return complaint;
    row.since = columns[Since];
    if (!contains({"3.1", "4.0", "4.1"}, row.since))
        return quoted(row.since) + " is no version of MPI that is known";
    if (!contains({"_c", "-"}, columns[Large]))
        return quoted(columns[Large]) + " is neither \"_c\" nor \"-\"";
    row.hasLarge = columns[Large] == "_c";
    row.category = columns[Category];
    if (categoryFor(row.category).empty())
        return quoted(row.category) + " is no category";
    if (std::string complaint = readRule(columns[Bytes], row); !complaint.empty())
        return complaint;
    row.counted = columns[Counted] == "-" ? "" : columns[Counted];
    if (!row.rule.empty() && !contains(CountingActions, row.counted))
        return quoted(columns[Counted]) + " doesn't count bytes";
    if (!row.counted.empty() && !contains(CountingActions, row.counted)
        && !contains(OtherActions, row.counted))
        return quoted(row.counted) + " is no action";
    return {};
}

} // namespace

bool CallRow::countsBytes() const
{
    return contains(CountingActions, counted);
}

CallTable readCallTable(std::istream &stream)
{
    CallTable table;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
        const Columns columns = columnsOf(line);
        if (columns.empty())
            continue;
        CallRow row;
        std::string complaint = readRow(columns, row);
        const bool isThere = std::any_of(table.rows.begin(), table.rows.end(),
            [&](const CallRow &earlier) { return earlier.name == row.name; });
        if (complaint.empty() && isThere)
            complaint = row.name + " stands there twice";
        if (!complaint.empty()) {
            table.complaint = "line " + std::to_string(number) + ": " + complaint;
            return table;
        }
        table.rows.push_back(row);
    }
    if (table.rows.empty())
        table.complaint = "no calls";
    return table;
}

std::string categoryFor(const std::string &word)
{
    const auto found = Categories.find(word);
    return found != Categories.end() ? found->second : std::string();
}

} // namespace fern::mpi::generator
