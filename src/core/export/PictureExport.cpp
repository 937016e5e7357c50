#include "core/export/PictureExport.h"

#include "core/export/GifFile.h"
#include "core/plot/ChartPainter.h"
#include "core/settings/StoredColour.h"

#include <QDir>

namespace PictureExport {

QString fileName(const QString& folder, int number)
{
    return QDir(folder).filePath(QStringLiteral("wgraph%1.gif").arg(number));
}

GraphPictureRequest request(const GraphData& data, const GraphColours& colours)
{
    GraphPictureRequest request;
    request.size = kPictureSize;
    request.colours = colours;
    request.legendBelow = true;
    if (data.options.singleDay) {
        for (const TraceSeries& series : data.traces) {
            const QDate day = data.range.last.addDays(series.trace.offset);
            request.titles << day.toString("dd.MM.yyyy ") + " " + series.trace.sourceName + ":" +
                                  series.trace.typeName();
        }
    }
    return request;
}

bool writePicture(const GraphData& data, const QString& path, const GraphColours& colours, GraphRenderer& renderer,
                  QString& error)
{
    const GraphPicture picture = renderer.render(data, request(data, colours));
    const QColor background = StoredColour::toColour(colours.background);
    std::vector<quint32> exact = {StoredColour::toRgb(colours.background), StoredColour::toRgb(colours.text)};
    for (const TraceSeries& series : data.traces) {
        // As drawn: a trace colour too pale for the background is drawn darker.
        const QColor colour = StoredColour::toColour(series.trace.colour);
        exact.push_back(plot::legible(colour, background).rgb() & 0xFFFFFF);
    }
    return GifFile::write(path, picture.image, exact, error);
}

bool exportPicture(const GraphData& data, int number, const QString& folder, const GraphColours& colours,
                   GraphRenderer& renderer, QString& error)
{
    if (folder.isEmpty())
        return false;
    return writePicture(data, fileName(folder, number), colours, renderer, error);
}

}  // namespace PictureExport
