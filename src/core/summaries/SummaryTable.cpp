#include "core/summaries/SummaryTable.h"

#include "core/text/NumberText.h"

#include <algorithm>
#include <map>

namespace {

using Cell = SummaryTable::Cell;

Cell number(std::optional<double> value, const QString& absent = QString())
{
    if (!value)
        return {absent, std::nullopt};
    return {NumberText::fixedNumber(*value, 1), *value};
}

Cell day(const QDate& date)
{
    return {date.toString("dd.MM.yyyy"), double(date.toJulianDay())};
}

QString quoted(const QString& cell)
{
    if (!cell.contains(',') && !cell.contains('"'))
        return cell;
    return '"' + QString(cell).replace('"', "\"\"") + '"';
}

// "12.8 on 21.11.2026"
QString onDay(double value, const QDate& date)
{
    return NumberText::fixedNumber(value, 1) + " on " + date.toString("dd.MM.yyyy");
}

}  // namespace

QString SummaryTable::toText() const
{
    std::vector<qsizetype> widths;
    for (const QString& header : headers)
        widths.push_back(header.size());
    for (const auto& row : rows) {
        for (std::size_t c = 0; c < row.size() && c < widths.size(); ++c)
            widths[c] = std::max(widths[c], row[c].text.size());
    }
    QString text;
    const auto line = [&text, &widths](const QStringList& cells) {
        QStringList padded;
        for (qsizetype c = 0; c < cells.size() && std::size_t(c) < widths.size(); ++c) {
            const qsizetype width = widths[std::size_t(c)];
            padded << (c == 0 ? cells[c].leftJustified(width) : cells[c].rightJustified(width));
        }
        text += padded.join("  ").trimmed() + '\n';
    };
    line(headers);
    for (const auto& row : rows) {
        QStringList cells;
        for (const Cell& cell : row)
            cells << cell.text;
        line(cells);
    }
    for (const QString& extra : foot)
        text += extra + '\n';
    return text;
}

QByteArray SummaryTable::toCsv() const
{
    QStringList lines;
    QStringList cells;
    for (const QString& header : headers)
        cells << quoted(header);
    lines << cells.join(',');
    for (const auto& row : rows) {
        cells.clear();
        for (const Cell& cell : row)
            cells << quoted(cell.text);
        lines << cells.join(',');
    }
    return (lines.join('\n') + '\n').toUtf8();
}

namespace SummaryTables {

SummaryTable maxMin(const std::vector<DayExtremes>& days)
{
    SummaryTable table{{"Day", "Min", "Max"}, {}, {}};
    for (const DayExtremes& d : days)
        table.rows.push_back({day(d.day), number(d.minimum), number(d.maximum)});
    return table;
}

SummaryTable maxMin(const std::vector<DailyExtremesSeries>& pairs)
{
    if (pairs.size() == 1)
        return maxMin(pairs.front().days);
    SummaryTable table{{"Day"}, {}, {}};
    std::map<QDate, std::vector<Cell>> rows;  // in date order
    const std::size_t width = 1 + 2 * pairs.size();
    for (std::size_t p = 0; p < pairs.size(); ++p) {
        table.headers << "Max \u2014 " + pairs[p].label() << "Min \u2014 " + pairs[p].label();
        for (const DayExtremes& d : pairs[p].days) {
            std::vector<Cell>& row = rows[d.day];
            if (row.empty()) {
                row.resize(width);
                row[0] = day(d.day);
            }
            row[1 + 2 * p] = number(d.maximum);
            row[2 + 2 * p] = number(d.minimum);
        }
    }
    for (auto& [date, row] : rows)
        table.rows.push_back(std::move(row));
    return table;
}

SummaryTable wind(const WindDay& windDay)
{
    SummaryTable table{{"Direction", "Sum of speeds"}, {}, {}};
    for (int bin = 0; bin < 16; ++bin)
        table.rows.push_back({{WindDay::pointName(bin), double(bin)}, number(windDay.sums[std::size_t(bin)])});
    table.foot << "Max: " + NumberText::generalNumber(windDay.maximum) << "Max Time: " + windDay.maximumTime
               << "Dir: " + windDay.maximumDirection;
    return table;
}

SummaryTable rain(const RainMonth& month)
{
    SummaryTable table{{"Day", "Rain (mm)"}, {}, {}};
    for (const RainDay& d : month.days)
        table.rows.push_back({day(d.day), number(d.rain, "no data")});
    table.foot << month.title();
    return table;
}

SummaryTable climate(const ClimateSummary& summary)
{
    SummaryTable table{{"Day", "High", "Low", "Mean", "Rain", "Max wind", "Dir"}, {}, {}};
    std::optional<std::pair<double, QDate>> high, low, wind;
    double rain = 0;
    int rainDays = 0;
    for (const ClimateDay& d : summary.days) {
        const QString point = d.dominantPoint >= 0 ? WindDay::pointName(d.dominantPoint) : QString();
        table.rows.push_back({day(d.day), number(d.high), number(d.low), number(d.mean), number(d.rain),
                              number(d.maxWind), {point, d.dominantPoint >= 0 ? std::optional<double>(d.dominantPoint) : std::nullopt}});
        if (d.high && (!high || *d.high > high->first))
            high = std::pair(*d.high, d.day);
        if (d.low && (!low || *d.low < low->first))
            low = std::pair(*d.low, d.day);
        if (d.maxWind && (!wind || *d.maxWind > wind->first))
            wind = std::pair(*d.maxWind, d.day);
        if (d.rain) {
            rain += *d.rain;
            rainDays += *d.rain > 0 ? 1 : 0;
        }
    }
    table.foot << "Highest: " + (high ? onDay(high->first, high->second) : QString("-"))
               << "Lowest: " + (low ? onDay(low->first, low->second) : QString("-"))
               << "Rain: " + NumberText::fixedNumber(rain, 1) + " mm on " + QString::number(rainDays) + " days"
               << "Strongest wind: " + (wind ? onDay(wind->first, wind->second) : QString("-"));
    return table;
}

}  // namespace SummaryTables
