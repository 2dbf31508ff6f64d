// Draws the report from the data in the page. A live one has none: live.js brings them.
"use strict";
const page = (() => {
  const given = JSON.parse(document.getElementById("data").textContent);
  const isLive = given.live === true;
  let data = given;

  // --- small helpers -------------------------------------------------------------------------
  const byId = (id) => document.getElementById(id);
  // All texts reach the page as text nodes: what a capture says never becomes markup.
  const make = (name, text, className) => {
    const element = document.createElement(name);
    if (text !== undefined) element.textContent = text;
    if (className) element.className = className;
    return element;
  };
  const timeText = (ms) => new Date(ms).toISOString().replace("T", " ").replace("Z", "");
  const decimals = (value, digits) =>
    value === null || value === undefined ? "" : value.toFixed(digits);
  const duration = (seconds) => {
    if (seconds < 60) return `${seconds.toFixed(1)} s`;
    const whole = Math.round(seconds);
    const parts = [Math.floor(whole / 3600), Math.floor(whole / 60) % 60, whole % 60];
    return parts.map((part) => String(part).padStart(2, "0")).join(":");
  };
  const inRadio = (radio) => (data.radios.length > 1 ? `, radio ${radio}` : "");

  // Makes the children of an element only when what they show is new, so that nothing that a user
  // has focused or selected goes without need.
  const shownKeys = new WeakMap();
  const fillWhenNew = (element, shown, makeChildren) => {
    const key = JSON.stringify(shown);
    if (shownKeys.get(element) === key) return;
    shownKeys.set(element, key);
    element.replaceChildren(...makeChildren());
  };
  const holdsSelection = (element) => {
    const selection = document.getSelection();
    return !selection.isCollapsed && element.contains(selection.anchorNode);
  };

  // --- tables --------------------------------------------------------------------------------
  // columns: {title, value(row), number, wide}
  const fillTable = (table, columns, rows) => {
    const head = make("tr");
    for (const column of columns) {
      const cell = make("th", column.title, column.number ? "number" : "");
      cell.scope = "col";
      head.append(cell);
    }
    const header = make("thead");
    header.append(head);
    const body = make("tbody");
    for (const row of rows) {
      const line = make("tr");
      for (const column of columns) {
        const className = column.number ? "number" : column.wide ? "wide" : "";
        line.append(make("td", column.value(row) ?? "", className));
      }
      body.append(line);
    }
    table.replaceChildren(header, body);
  };

  const copyText = async (text) => {
    if (navigator.clipboard && window.isSecureContext) return navigator.clipboard.writeText(text);
    const area = make("textarea", text);
    document.body.append(area);
    area.select();
    document.execCommand("copy");
    area.remove();
  };
  const asTabs = (columns, rows) =>
    [columns.map((column) => column.title), ...rows.map((row) => columns.map((c) => c.value(row) ?? ""))]
      .map((line) => line.join("\t"))
      .join("\n");

  // A table with a button that copies it; `rows` is called when they are needed.
  const tableWithCopy = (label, columns, rows) => {
    const table = make("table");
    table.setAttribute("aria-label", label);
    const copy = make("button", "Copy table");
    copy.type = "button";
    copy.addEventListener("click", async () => {
      await copyText(asTabs(columns, rows()));
      copy.textContent = "Copied";
      setTimeout(() => (copy.textContent = "Copy table"), 2000);
    });
    const scroll = make("div", undefined, "scroll");
    scroll.tabIndex = 0;
    scroll.append(table);
    const fill = () => holdsSelection(table) || fillTable(table, columns, rows());
    return { elements: [copy, scroll], fill };
  };

  // --- overview ------------------------------------------------------------------------------
  const drawOverview = () => {
    const facts = [
      ["Inputs", data.inputs.join(", ")],
      ["Time", data.from === null ? "none" : `${timeText(data.from)} to ${timeText(data.to)} UTC`],
      ["Duration", data.from === null ? "" : duration((data.to - data.from) / 1000)],
      ["Radios", data.radios.join(", ")],
      ["Packets", `${data.packets}, of which ${data.records} gave a record`],
      ["Losses", data.losses.map(([what, count]) => `${what}: ${count}`).join(", ") || "none"],
      ["Refused", data.refused.join("; ") || "none"],
    ];
    if (data.port_losses > 0) facts.push(["Port lost", data.port_losses === 1 ? "once" : `${data.port_losses} times`]);
    if (data.without_time > 0) {
      facts.push(["Without time", `${data.without_time} records from before the modem knew the time; not shown`]);
    }
    fillWhenNew(byId("facts"), facts, () =>
      facts.flatMap(([name, value]) => [make("dt", name), make("dd", value)]));
  };

  // --- cells ---------------------------------------------------------------------------------
  const levelColumns = (name, key, unit) =>
    [["mean", "mean"], ["5 %", "p5"], ["50 %", "p50"], ["95 %", "p95"]].map(([title, part]) => ({
      title: `${name} ${title}${part === "mean" ? ` (${unit})` : ""}`,
      number: true,
      value: (cell) => decimals(cell[key]?.[part], 2),
    }));
  const cellName = (cell) => `${cell.technology} ${cell.pci} on ${cell.arfcn}`;
  const cellColumns = [
    { title: "Radio", value: (cell) => String(cell.radio) },
    { title: "Technology", value: (cell) => cell.technology },
    { title: "PCI", number: true, value: (cell) => String(cell.pci) },
    { title: "Channel", number: true, value: (cell) => String(cell.arfcn) },
    { title: "Band", number: true, value: (cell) => cell.band },
    { title: "Bandwidth (MHz)", number: true, value: (cell) => cell.bandwidth_MHz },
    { title: "Identity", number: true, value: (cell) => cell.identity },
    { title: "TAC", number: true, value: (cell) => cell.tac },
    { title: "Network", value: (cell) => cell.network },
    { title: "Time", number: true, value: (cell) => duration(cell.seconds) },
    { title: "Visits", number: true, value: (cell) => String(cell.visits) },
    ...levelColumns("RSRP", "rsrp", "dBm"),
    ...levelColumns("RSRQ", "rsrq", "dB"),
    ...levelColumns("SINR", "sinr", "dB"),
  ];
  const changeColumns = [
    { title: "Time (UTC)", value: (change) => timeText(change.time) },
    { title: "Radio", value: (change) => String(change.radio) },
    { title: "From", value: (change) => cellName(data.cells[change.from]) },
    { title: "To", value: (change) => cellName(data.cells[change.to]) },
    { title: "RSRP before (dBm)", number: true, value: (change) => decimals(change.before, 2) },
    { title: "RSRP after (dBm)", number: true, value: (change) => decimals(change.after, 2) },
  ];
  const markColumns = [
    { title: "Time (UTC)", value: (mark) => timeText(mark.time) },
    { title: "Radio", value: (mark) => String(mark.radio) },
    { title: "Kind", value: (mark) => mark.kind },
    { title: "Text", wide: true, value: (mark) => mark.text },
  ];

  const hiddenKinds = new Set();
  const shownMarks = () => data.marks.filter((mark) => !hiddenKinds.has(mark.kind));

  const lists = [
    { id: "cells", columns: cellColumns, rows: () => data.cells, leftOut: "cells_left_out" },
    { id: "changes", columns: changeColumns, rows: () => [...data.changes].sort((a, b) => a.time - b.time), leftOut: "changes_left_out" },
    { id: "marks", columns: markColumns, rows: shownMarks, leftOut: "marks_left_out" },
  ];
  for (const list of lists) {
    const section = byId(list.id);
    list.table = tableWithCopy(section.querySelector("h2").textContent, list.columns, list.rows);
    list.more = make("p", "", "more");
    section.append(...list.table.elements, list.more);
  }
  const drawList = (list) => {
    byId(list.id).hidden = data[list.id].length === 0;
    list.table.fill();
    const leftOut = data[list.leftOut];
    list.more.textContent = leftOut > 0 ? `${leftOut} more are not listed.` : "";
  };

  const drawMarkKinds = () => {
    const kinds = [...new Set(data.marks.map((mark) => mark.kind))].sort();
    fillWhenNew(byId("mark_kinds"), kinds, () =>
      kinds.map((kind) => {
        const box = make("input");
        box.type = "checkbox";
        box.checked = !hiddenKinds.has(kind);
        box.addEventListener("change", () => {
          if (box.checked) hiddenKinds.delete(kind);
          else hiddenKinds.add(kind);
          drawList(lists[2]);
          drawCharts();
        });
        const label = make("label");
        label.append(box, ` ${kind}`);
        return label;
      }));
  };

  // --- data ----------------------------------------------------------------------------------
  const { unpack, joined, shown, rowsOf, least_rate_width } = bucketing;
  const take = (all) => {
    data = all;
    for (const chart of data.charts) {
      for (const series of chart.series) series.buckets = unpack(series.buckets);
    }
  };

  // --- charts --------------------------------------------------------------------------------
  const whole = () => {
    const from = data.from ?? 0;
    const to = Math.max(data.to ?? 1, from + 1);
    return [from, to];
  };
  let view = null; // the window of time that all charts show; null: everything
  const shownWindow = () => view ?? whole();
  const dashes = [null, [7, 3], [2, 2], [9, 3, 2, 3]];
  const styleOf = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
  const colours = () => styleOf("--series").split(/\s+/);

  const figures = new Map(); // by title of the chart
  const labelOf = (series) => series.label + inRadio(series.radio);

  const gridWidth = (element) => {
    const [from, to] = shownWindow();
    const points = Math.max(100, element.clientWidth / 2);
    return 2 ** Math.max(0, Math.ceil(Math.log2((to - from) / points)));
  };

  const moveView = (from, to) => {
    const [first, last] = whole();
    const length = Math.round(Math.min(Math.max(to - from, 10), last - first));
    const start = Math.round(Math.min(Math.max(from, first), last - length));
    view = length >= last - first ? null : [start, start + length];
    drawCharts();
  };

  const showLegend = (figure, row) => {
    const { chart, legend } = figure;
    const time = row === undefined ? null : figure.graph.getValue(row, 0);
    const keys = chart.series.map((series, i) => {
      const colour = colours()[i % colours().length];
      const key = make("span");
      const name = make("span", `${labelOf(series)} `, "key");
      name.style.color = colour;
      key.append(name);
      const value = row === undefined ? null : figure.graph.getValue(row, i + 1);
      if (value && !Number.isNaN(value[1])) {
        const span = value[0] !== value[2] ? ` (${decimals(value[0], 2)} to ${decimals(value[2], 2)})` : "";
        key.append(`${decimals(value[1], 2)}${span}`);
      }
      return key;
    });
    legend.replaceChildren(...(time === null ? [] : [make("span", timeText(time))]), ...keys);
  };

  let cursor = null;
  const showCursor = (figure) => {
    const [from, to] = shownWindow();
    const isFar = cursor < from - (to - from) / 20 || cursor > to + (to - from) / 20;
    if (cursor === null || isFar || figure.graph.numRows() === 0) {
      figure.graph.clearSelection();
      showLegend(figure);
    } else {
      const row = nearestRow(figure.graph, cursor);
      figure.graph.setSelection(row);
      showLegend(figure, row);
    }
  };
  const setCursor = (time) => {
    cursor = time;
    for (const figure of figures.values()) if (figure.graph !== null) showCursor(figure);
  };

  const onKey = (figure, event) => {
    const [from, to] = shownWindow();
    const length = to - from;
    const sideways = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (sideways !== undefined && event.shiftKey) {
      moveView(from + (sideways * length) / 5, to + (sideways * length) / 5);
    } else if (sideways !== undefined && figure.graph.numRows() > 0) {
      const row = cursor === null ? 0 : nearestRow(figure.graph, cursor) + sideways;
      setCursor(figure.graph.getValue(Math.min(Math.max(row, 0), figure.graph.numRows() - 1), 0));
    } else if (event.key === "+" || event.key === "=") {
      const middle = cursor !== null && cursor > from && cursor < to ? cursor : (from + to) / 2;
      moveView(middle - length / 4, middle + length / 4);
    } else if (event.key === "-") {
      moveView(from - length / 2, to + length / 2);
    } else if (event.key === "0") {
      moveView(...whole());
    } else if (event.key === "Escape") {
      setCursor(null);
    } else {
      return;
    }
    event.preventDefault();
  };

  const annotationsOf = (graph, label) => {
    const rows = graph.numRows();
    if (rows === 0) return [];
    const [from, to] = shownWindow();
    const marks = shownMarks().filter((mark) => mark.time >= from && mark.time <= to);
    if (marks.length > 60) return []; // too many to read; the list has them
    const taken = new Map();
    for (const mark of marks) {
      const x = graph.getValue(nearestRow(graph, mark.time), 0);
      const text = `${timeText(mark.time)} ${mark.kind}: ${mark.text}`;
      taken.set(x, taken.has(x) ? `${taken.get(x)}\n${text}` : text);
    }
    return [...taken].map(([x, text]) => ({ series: label, x, shortText: "•", text,
                                            attachAtBottom: true, width: 14, height: 16 }));
  };

  const addFigure = (chart) => {
    const element = make("figure");
    const caption = make("h3", `${chart.title} `);
    caption.append(make("span", `(${chart.unit})`, "unit"));
    const box = make("div", undefined, "chart");
    box.tabIndex = 0;
    box.setAttribute("role", "application");
    box.setAttribute("aria-label", `${chart.title} in ${chart.unit} over time`);
    const legend = make("div", undefined, "legend");
    const details = make("details");
    element.append(caption, box, legend, details);
    const after = data.charts.slice(data.charts.indexOf(chart) + 1);
    const next = after.map((other) => figures.get(other.title)).find((other) => other !== undefined);
    byId("charts").insertBefore(element, next?.element ?? null);
    const figure = { chart, element, box, legend, graph: null, isNear: !isLive };
    if (isLive) nearby.observe(element);

    const columns = [
      { title: "Time (UTC)", value: (row) => timeText(row.time) },
      { title: "Series", value: (row) => row.series },
      { title: "Values", number: true, value: (row) => String(row.count) },
      { title: "Least", number: true, value: (row) => decimals(row.shown[0], 2) },
      { title: "Mean", number: true, value: (row) => decimals(row.shown[1], 2) },
      { title: "Greatest", number: true, value: (row) => decimals(row.shown[2], 2) },
    ];
    const rows = () => {
      const [from, to] = shownWindow();
      return figure.chart.series.flatMap((series) => {
        const width = Math.max(gridWidth(box), chart.rate ? least_rate_width : 0);
        const fine = joined(series, width, from, to);
        return fine.buckets.map((bucket) => ({ time: bucket.index * fine.width, series: labelOf(series),
                                               count: bucket.count, shown: shown(chart, bucket, fine.width) }));
      });
    };
    const table = tableWithCopy(chart.title, columns, rows);
    details.append(make("summary", "Table of what is shown"), ...table.elements);
    details.addEventListener("toggle", () => details.open && table.fill());
    figure.refill = () => details.open && table.fill();
    box.addEventListener("keydown", (event) => onKey(figure, event));
    // Of everything the library has what is shown alone.
    box.addEventListener("dblclick", (event) => { event.stopPropagation(); moveView(...whole()); }, true);
    figures.set(chart.title, figure);
    return figure;
  };

  const drawFigure = (figure) => {
    const { chart, box } = figure;
    const [from, to] = shownWindow();
    const rows = rowsOf(chart, gridWidth(box), from - (to - from) / 20, to + (to - from) / 20);
    const labels = ["Time", ...chart.series.map(labelOf)];
    const perSeries = {};
    labels.slice(1).forEach((label, i) => {
      perSeries[label] = { strokePattern: dashes[Math.floor(i / colours().length) % dashes.length] };
    });
    const options = {
      labels, series: perSeries, colors: labels.slice(1).map((_, i) => colours()[i % colours().length]),
      dateWindow: [from, to], axisLineColor: styleOf("--muted"), gridLineColor: styleOf("--line"),
    };
    if (figure.graph === null) {
      figure.graph = new Dygraph(box, rows, {
        ...options, customBars: true, labelsUTC: true, strokeWidth: 1.5,
        connectSeparatedPoints: true, drawPoints: chart.series.every((s) => s.buckets.length < 400),
        pointSize: 2, highlightCircleSize: 4, stepPlot: chart.steps,
        plotter: [rangePlotter, Dygraph.Plotters.linePlotter],
        axes: {
          x: { ticker: Dygraph.dateTicker, axisLabelFormatter: Dygraph.dateAxisLabelFormatter },
          y: { axisLabelWidth: 50 },
        },
        highlightCallback: (event, x) => setCursor(x),
        unhighlightCallback: () => setCursor(null),
        zoomCallback: (low, high) => moveView(low, high),
        drawCallback: (graph, first) => {
          if (first) return;
          const [low, high] = graph.xAxisRange();
          const [a, b] = shownWindow();
          if (Math.abs(low - a) + Math.abs(high - b) > (b - a) / 1000) moveView(low, high);
        },
      });
    } else {
      figure.graph.updateOptions({ ...options, file: rows }, false);
    }
    figure.graph.setAnnotations(annotationsOf(figure.graph, labels[1]));
    showCursor(figure);
    figure.refill();
  };

  // --- bands of states -----------------------------------------------------------------------
  const drawBands = () => {
    document.querySelectorAll(".bands").forEach((old) => old.remove());
    const [from, to] = shownWindow();
    const place = (time) => `${(100 * (Math.min(Math.max(time, from), to) - from)) / (to - from)}%`;
    const all = make("div", undefined, "bands");
    for (const band of data.states) {
      all.append(make("h3", band.title + inRadio(band.radio)));
      const line = make("div", undefined, "band");
      line.setAttribute("role", "img");
      const said = [];
      band.spans.forEach(([time, state], i) => {
        const end = i + 1 < band.spans.length ? band.spans[i + 1][0] : whole()[1];
        if (end < from || time > to) return;
        const span = make("span", state);
        span.title = `${timeText(time)} ${state}`;
        span.style.left = place(time);
        span.style.width = `calc(${place(end)} - ${place(time)})`;
        said.push(span.title);
        line.append(span);
      });
      line.setAttribute("aria-label", said.slice(0, 50).join(", "));
      all.append(line);
    }
    byId("window").after(all);
  };

  // A live page draws only the charts that can be seen.
  const nearby = new IntersectionObserver((entries) => {
    for (const figure of figures.values()) {
      const entry = entries.find((one) => one.target === figure.element);
      if (entry) figure.isNear = entry.isIntersecting;
    }
    drawCharts();
  }, { rootMargin: "50%" });

  let drawing = false; // dygraphs calls back while it draws
  const drawCharts = () => {
    if (drawing) return;
    drawing = true;
    byId("charts").hidden = data.charts.length === 0 && data.states.length === 0;
    const [from, to] = shownWindow();
    byId("window").textContent =
      data.from === null ? "" : `Shown: ${timeText(from)} to ${timeText(to)} UTC`;
    drawBands();
    for (const [title, figure] of figures) {
      figure.element.hidden = !data.charts.some((chart) => chart.title === title);
    }
    for (const chart of data.charts) {
      const figure = figures.get(chart.title) ?? addFigure(chart);
      figure.chart = chart;
      if (figure.isNear) drawFigure(figure);
    }
    drawing = false;
  };

  // --- the page ------------------------------------------------------------------------------
  const drawSections = () => {
    const sections = [...document.querySelectorAll("main section:not([hidden])")];
    fillWhenNew(byId("sections"), sections.map((section) => section.id), () =>
      sections.map((section) => {
        const link = make("a", section.querySelector("h2").textContent);
        link.href = `#${section.id}`;
        const item = make("li");
        item.append(link);
        return item;
      }));
  };

  // All of it, or, of the lists, those that have changed.
  const draw = (isChanged = () => true) => {
    byId("title").textContent = data.title;
    document.title = data.title;
    drawOverview();
    drawMarkKinds();
    lists.filter((list) => isChanged(list.id)).forEach(drawList);
    drawCharts();
    drawSections();
  };
  const show = (all) => {
    take(all);
    const [from, to] = whole();
    if (view && (view[1] < from || view[0] > to)) view = null;
    draw();
  };
  if (!isLive) show(given);
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => data.charts && drawCharts());
  window.addEventListener("beforeprint", () => {
    for (const figure of figures.values()) {
      if (isLive) drawFigure(figure);
      figure.graph.resize();
    }
  });
  return { isLive, show, draw, setStatus: (text) => (byId("status").textContent = text) };
})();
