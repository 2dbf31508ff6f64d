// What the library that draws the charts lacks, or does otherwise.
"use strict";

// The library's own legend writes markup with styles, which the page's policy refuses.
Dygraph.PLUGINS = Dygraph.PLUGINS.filter((plugin) => plugin !== Dygraph.Plugins.Legend);

// The row of the chart that is nearest to a time.
const nearestRow = (graph, time) => {
  let low = 0;
  let high = graph.numRows() - 1;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (graph.getValue(middle, 0) < time) low = middle + 1;
    else high = middle;
  }
  if (low > 0 && time - graph.getValue(low - 1, 0) < graph.getValue(low, 0) - time) return low - 1;
  return low;
};

// Shades from the least to the greatest values, up to the next gap as one area: the library's own
// plotter makes one of each two values, whose sides take seconds where no graphics card draws.
const rangePlotter = ({ points, drawingContext: canvas, color, plotArea, dygraph, setName }) => {
  const steps = dygraph.getBooleanOption("stepPlot", setName);
  const place = (share) => plotArea.h * share + plotArea.y;
  let above = [];
  let below = [];
  const fill = () => {
    canvas.beginPath();
    [...above, ...below.reverse()].forEach(([x, y]) => canvas.lineTo(x, y));
    canvas.fill();
    above = [];
    below = [];
  };
  canvas.save();
  canvas.fillStyle = color;
  canvas.globalAlpha = 0.2;
  for (const { canvasx, yval, y_top, y_bottom } of points) {
    if (Number.isNaN(yval)) fill();
    if (yval === null || Number.isNaN(yval)) continue;
    if (steps && above.length > 0) {
      above.push([canvasx, above.at(-1)[1]]);
      below.push([canvasx, below.at(-1)[1]]);
    }
    above.push([canvasx, place(y_top)]);
    below.push([canvasx, place(y_bottom)]);
  }
  fill();
  canvas.restore();
};
