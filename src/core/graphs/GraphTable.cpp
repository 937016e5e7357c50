#include "core/graphs/GraphTable.h"

#include "core/text/NumberText.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace {

QString csvField(const QString& text)
{
    if (!text.contains(u',') && !text.contains(u'"') && !text.contains(u'\n'))
        return text;
    QString quoted = text;
    quoted.replace(u'"', QStringLiteral("\"\""));
    return u'"' + quoted + u'"';
}

}  // namespace

GraphTable tableOf(const GraphData& data)
{
    GraphTable table;
    table.singleDay = data.options.singleDay;
    table.headers = QStringList{"Time", "Label"};
    for (const TraceSeries& series : data.traces) {
        if (series.skipped)
            continue;
        table.headers << series.trace.title();
        table.x.insert(table.x.end(), series.x.begin(), series.x.end());
    }
    std::sort(table.x.begin(), table.x.end());
    table.x.erase(std::unique(table.x.begin(), table.x.end()), table.x.end());
    table.labels.resize(table.x.size());

    for (const TraceSeries& series : data.traces) {
        if (series.skipped)
            continue;
        std::vector<std::optional<double>> column(table.x.size());
        std::size_t row = 0;
        for (std::size_t i = 0; i < series.size(); ++i) {
            row = std::size_t(std::lower_bound(table.x.begin() + std::ptrdiff_t(row), table.x.end(), series.x[i]) -
                              table.x.begin());
            column[row] = series.y[i];  // of two readings at one time, the later
            if (table.labels[row].isEmpty())
                table.labels[row] = series.label(i, data.options.singleDay);
        }
        table.values.push_back(std::move(column));
    }
    return table;
}

QString GraphTable::timeText(std::size_t row) const
{
    if (!singleDay)
        return wallClockTime(x[row]).toString("dd-MMM-yyyy hh:mm");
    const int minutes = int(std::lround(x[row] * 60));
    QString text = QString::asprintf("%02d:%02d", minutes / 60 % 24, minutes % 60);
    if (minutes >= 24 * 60)
        text += QStringLiteral(" +%1").arg(minutes / (24 * 60));
    return text;
}

QByteArray GraphTable::toCsv() const
{
    QStringList header;
    for (const QString& name : headers)
        header << csvField(name);
    QString csv = header.join(u',') + "\r\n";
    for (std::size_t row = 0; row < rows(); ++row) {
        QStringList fields;
        fields << (singleDay ? NumberText::fixedNumber(x[row], 4) : wallClockTime(x[row]).toString("yyyy-MM-dd hh:mm"));
        fields << csvField(labels[row]);
        for (const auto& column : values)
            fields << (column[row] ? NumberText::generalNumber(*column[row]) : QString());
        csv += fields.join(u',') + "\r\n";
    }
    return csv.toUtf8();
}
