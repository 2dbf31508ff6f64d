// The values of a series, in buckets: how they arrive, and what of them a chart shows.
"use strict";
const bucketing = (() => {
  // A series arrives as a flat list: for each bucket the step from the index before, the count, the
  // mean, and, if the count is above 1, the least and the greatest value.
  const unpack = (flat) => {
    const buckets = [];
    let index = 0;
    for (let i = 0; i < flat.length; ) {
      index += flat[i];
      const count = flat[i + 1];
      const mean = flat[i + 2];
      buckets.push({ index, count, mean, least: count > 1 ? flat[i + 3] : mean,
                     greatest: count > 1 ? flat[i + 4] : mean });
      i += count > 1 ? 5 : 3;
    }
    return buckets;
  };

  // Joins buckets to at least `width` ms, within a window of time.
  const joined = (series, width, from, to) => {
    const factor = Math.max(1, width / series.width);
    const wide = Math.max(width, series.width);
    const result = [];
    for (const bucket of series.buckets) {
      const index = Math.floor(bucket.index / factor);
      const time = index * wide;
      if (time + wide < from || time > to) continue;
      const last = result[result.length - 1];
      if (last && last.index === index) {
        last.mean = (last.mean * last.count + bucket.mean * bucket.count) / (last.count + bucket.count);
        last.count += bucket.count;
        last.least = Math.min(last.least, bucket.least);
        last.greatest = Math.max(last.greatest, bucket.greatest);
      } else {
        result.push({ ...bucket, index });
      }
    }
    return { width: wide, buckets: result };
  };

  // Longer than this without a value is a gap in the line.
  const gapOf = (buckets, width) => {
    if (buckets.length < 3) return Infinity;
    const steps = buckets.slice(1).map((bucket, i) => bucket.index - buckets[i].index).sort((a, b) => a - b);
    return Math.max(2, 5 * steps[steps.length >> 1]) * width;
  };

  // A rate is bytes in a bucket over the time to the next one, at most a second.
  const shown = (chart, bucket, width) => {
    if (!chart.rate) return [bucket.least, bucket.mean, bucket.greatest];
    const rate = (bucket.mean * bucket.count * 8) / (width * 1000);
    return [rate, rate, rate];
  };
  const least_rate_width = 1024; // ms

  // The rows of a chart for dygraphs: time, then [least, mean, greatest] of each series.
  const rowsOf = (chart, width, from, to) => {
    const rows = new Map();
    const rowAt = (time) => {
      if (!rows.has(time)) rows.set(time, new Array(chart.series.length).fill(null));
      return rows.get(time);
    };
    chart.series.forEach((series, column) => {
      const fine = joined(series, chart.rate ? Math.max(width, least_rate_width) : width, from, to);
      const gap = gapOf(fine.buckets, fine.width);
      let before = -Infinity;
      for (const bucket of fine.buckets) {
        const time = bucket.index * fine.width + (fine.width > 1 ? fine.width / 2 : 0);
        if (time - before > gap && before > -Infinity) {
          rowAt(before + fine.width)[column] = [NaN, NaN, NaN];
        }
        rowAt(time)[column] = shown(chart, bucket, fine.width);
        before = time;
      }
    });
    if (rows.size === 0) rowAt(from); // the library wants a row, if an empty one
    return [...rows.keys()].sort((a, b) => a - b).map((time) => [time, ...rows.get(time)]);
  };

  return { unpack, joined, shown, rowsOf, least_rate_width };
})();
