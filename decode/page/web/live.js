// Follows a live port: takes the events of the server that the page came from into the page's data.
"use strict";
if (page.isLive) {
  const retry_time = 5000; // ms
  let data = null;

  // --- changes -------------------------------------------------------------------------------
  // A list that begins with number `first`, and entries that are new or differ, by their numbers.
  const patchList = (list, first, patch) => {
    list.splice(0, patch.first - first);
    for (const [number, value] of patch.entries) list[number - patch.first] = value;
    return patch.first;
  };

  // From index `from` on, a series' buckets are the ones that came.
  const patchSeries = (series, { width, from, buckets }) => {
    const before = width === series.width ? series.buckets.filter((bucket) => bucket.index < from) : [];
    series.width = width;
    series.buckets = before.concat(bucketing.unpack(buckets));
  };
  const forgetBefore = (series, time) => {
    const end = series.buckets.findIndex((bucket) => (bucket.index + 1) * series.width > time);
    series.buckets.splice(0, end < 0 ? series.buckets.length : end);
  };

  const take = (change) => {
    const { cells, changes, marks, states, series, ...rest } = change;
    Object.assign(data, rest);
    patchList(data.cells, 0, cells);
    data.changes_first = patchList(data.changes, data.changes_first, changes);
    data.marks_first = patchList(data.marks, data.marks_first, marks);
    states.forEach((patch, i) => {
      const band = data.states[i];
      band.first = patchList(band.spans, band.first, patch);
    });
    const all = data.charts.flatMap((chart) => chart.series);
    for (const one of series) patchSeries(all[one.number], one);
    for (const one of all) forgetBefore(one, data.from);
  };

  // --- drawing -------------------------------------------------------------------------------
  // Not while nobody looks or a chart is being dragged.
  const changed = new Set();
  let isDragging = false;
  const draw = () => {
    if (data === null || document.hidden || isDragging) return;
    page.draw((list) => changed.has(list));
    changed.clear();
  };
  document.addEventListener("visibilitychange", draw);
  document.addEventListener("pointerdown", (event) => (isDragging = event.target.closest(".chart") !== null));
  for (const end of ["pointerup", "pointercancel"]) {
    window.addEventListener(end, () => setTimeout(() => ((isDragging = false), draw())));
  }

  // --- events --------------------------------------------------------------------------------
  const showPort = () =>
    page.setStatus(data.port_is_open ? "Following the port." : "The port is lost; waiting for it.");

  const follow = () => {
    const source = new EventSource("events");
    let hasEnded = false;
    source.addEventListener("whole", (event) => {
      hasEnded = false;
      data = JSON.parse(event.data);
      page.show(data);
      showPort();
    });
    source.addEventListener("change", (event) => {
      const change = JSON.parse(event.data);
      for (const list of ["cells", "changes", "marks"]) {
        if (change[list].entries.length > 0 || change[list].first > (data[`${list}_first`] ?? 0)) changed.add(list);
      }
      take(change);
      draw();
      showPort();
    });
    source.addEventListener("end", () => (hasEnded = true));
    source.addEventListener("error", () => {
      page.setStatus(
        hasEnded ? "tvk-decode has ended; waiting for the next one."
                 : "No connection to tvk-decode; trying again.");
      // Turned away by a server that has enough browsers: only then it does not try by itself.
      if (source.readyState === EventSource.CLOSED) setTimeout(follow, retry_time);
    });
  };

  document.getElementById("window").setAttribute("aria-live", "off");
  page.setStatus("Waiting for tvk-decode.");
  follow();
}
