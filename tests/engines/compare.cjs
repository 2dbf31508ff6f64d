// What the engines have in their tables, against the JSON lines; see check.
const fs = require('fs');
const {execFileSync} = require('child_process');
const {DuckDBInstance} = require('@duckdb/node-api');

const lines = fs.readFileSync('records.jsonl', 'utf8').trim().split('\n').map((l) => JSON.parse(l));
const summary = JSON.parse(fs.readFileSync('summary.json', 'utf8'));
const schemas = JSON.parse(fs.readFileSync('schema.json', 'utf8')).oneOf;
const [manual, fleet] = process.argv.slice(2).map((page) => fs.readFileSync(page, 'utf8'));

let failures = 0;
const expect = (what, got, wanted) => {
  if (String(got) === String(wanted)) return;
  failures += 1;
  console.error(`FAILED: ${what}: ${got}, expected ${wanted}`);
};
const rounded = (value) => Number(value).toFixed(4);

/// The statements that a page shows for an engine.
const shown = (engine, page = manual) =>
  [...page.matchAll(new RegExp('```' + engine + '\n([^`]*)```', 'g'))].map((m) => m[1]);

/// Each fact is a question in SQL, made by `ask`, and the answer that the lines give.
function facts(ask) {
  const all = [];
  for (const {title, properties} of schemas) {
    const of = lines.filter((line) => line.name === title);
    all.push([`rows of ${title}`, `SELECT count(*) FROM "${title}"`, of.length]);
    for (const [name, property] of Object.entries(properties)) {
      if (['name', 'raw'].includes(name)) continue;
      const values = of.map((line) => line[name]).filter((value) => value !== null);
      const column = `${title}.${name}`;
      all.push([`values of ${column}`, `SELECT count("${name}") FROM "${title}"`, values.length]);
      const type = [property.type].flat()[0];
      if (name === 'time') {
        const sum = values.reduce((to, value) => to + Date.parse(value), 0) / 1000;
        all.push([`sum of ${column}`, ask.times(title), Math.round(sum)]);
      } else if (type === 'integer' || type === 'number') {
        const sum = values.reduce((to, value) => to + value, 0);
        all.push([`sum of ${column}`, `SELECT coalesce(sum("${name}"), 0) FROM "${title}"`, sum]);
      } else if (type === 'string') {
        const size = values.reduce((to, value) => to + [...value].length, 0);
        all.push([`letters of ${column}`,
          `SELECT coalesce(sum(length("${name}")), 0) FROM "${title}"`, size]);
      } else if (type === 'array') {
        const entries = values.flat();
        for (const key of Object.keys(property.items.properties)) {
          const count = entries.filter((entry) => entry[key] !== null).length;
          all.push([`entries ${column}.${key}`, ask.entries(title, name, key), count]);
        }
      }
    }
  }
  for (const {name, records} of summary.records) {
    all.push([`summary of ${name}`, `SELECT count(*) FROM "${name}"`, records]);
  }
  return all;
}

async function check(engine, ask) {
  const all = facts(ask);
  const sums = all.map(([, sql]) => `(${sql})`);
  const answers = await ask.run(sums);
  all.forEach(([what, , wanted], i) =>
    expect(`${engine}: ${what}`, rounded(answers[i]), rounded(wanted)));
  for (const [what, types] of Object.entries(await ask.types())) {
    const schema = schemas.find(({title}) => title === what);
    for (const [name, property] of Object.entries(schema.properties)) {
      if (['name', 'raw'].includes(name)) continue;
      const type = name === 'time' ? 'time' : [property.type].flat()[0];
      expect(`${engine}: type of ${what}.${name}`, ask.type_names[types[name]], type);
    }
  }
  console.log(`${engine}: ${all.length} facts of ${schemas.length} tables`);
}

/// For each level with the newest identity of its cell: their number, that with a cell, the sum of these.
function joined() {
  const cells = lines.filter((line) => line.name === 'lte_rrc_serving_cell_info');
  const found = lines.filter((line) => line.name === 'lte_srv_meas_pcc').map((level) =>
    cells.filter((c) => ['file', 'radio', 'pci', 'dl_earfcn'].every((key) => c[key] === level[key]) && c.time <= level.time)
      .sort((a, b) => (a.time < b.time ? -1 : 1)).at(-1));
  const with_cell = found.filter((cell) => cell);
  return [found.length, with_cell.length,
    with_cell.reduce((sum, {cell_identity}) => sum + cell_identity, 0)];
}

function check_join(engine, rows) {
  const with_cell = rows.filter((row) => row.cell_identity !== null && row.cell_identity !== '');
  expect(`${engine}: as-of join`, [rows.length, with_cell.length,
    with_cell.reduce((sum, row) => sum + Number(row.cell_identity), 0)], joined());
}

async function duckdb() {
  const db = await (await DuckDBInstance.create(':memory:')).connect();
  const rows = async (sql) => (await db.runAndReadAll(sql)).getRowObjectsJson();
  await db.run("SET TimeZone = 'Asia/Kolkata'");
  await db.run(fs.readFileSync('schema.duckdb', 'utf8'));
  await check('DuckDB', {
    run: async (sums) => {
      const answers = [];
      for (const sum of sums) {
        answers.push((await db.runAndReadAll(`SELECT ${sum}`)).getRowsJson()[0][0]);
      }
      return answers;
    },
    times: (table) => `SELECT coalesce(round(sum(epoch_us("time") // 1000) / 1e3), 0) FROM "${table}"`,
    entries: (table, part, key) =>
      `SELECT count(entry."${key}") FROM (SELECT unnest("${part}") AS entry FROM "${table}")`,
    type_names: {'TIMESTAMP WITH TIME ZONE': 'time', BIGINT: 'integer', DOUBLE: 'number',
      VARCHAR: 'string', array: 'array'},
    types: async () => {
      const all = {};
      for (const row of await rows(`SELECT table_name, column_name, data_type
          FROM information_schema.columns WHERE table_schema = 'main'`)) {
        (all[row.table_name] ??= {})[row.column_name] =
          row.data_type.endsWith('[]') ? 'array' : row.data_type;
      }
      return all;
    },
  });
  const [join, parquet, csv] = shown('duckdb');
  check_join('DuckDB', await rows(join));
  await db.run(parquet);
  const [{count}] = await rows(`SELECT count(*) AS count FROM (
    (FROM lte_srv_meas_pcc EXCEPT ALL FROM 'lte_srv_meas_pcc.parquet') UNION ALL
    (FROM 'lte_srv_meas_pcc.parquet' EXCEPT ALL FROM lte_srv_meas_pcc))`);
  expect('DuckDB: rows that Parquet changes', count, 0);
  await db.run('CREATE TABLE loaded AS FROM lte_tx_power; DELETE FROM lte_tx_power');
  await db.run(csv);
  const [{differing}] = await rows(`SELECT count(*) AS differing FROM (
    (FROM lte_tx_power EXCEPT ALL FROM loaded) UNION ALL (FROM loaded EXCEPT ALL FROM lte_tx_power))`);
  expect('DuckDB: rows that differ between CSV and JSON', differing, 0);
  const days = fs.readdirSync('out/tables/record=lte_srv_meas_pcc');
  const [levels, load] = shown('duckdb', fleet);
  expect('DuckDB: files of a year', JSON.stringify(await rows('EXPLAIN ' + levels)).match(/Scanning Files: [0-9/]*/),
    `Scanning Files: ${days.filter((day) => day.startsWith('day=2016')).length}/${days.length}`);
  await db.run(`DELETE FROM lte_srv_meas_pcc; ${load}`);
  const of_year = lines.filter(({name, time}) => name === 'lte_srv_meas_pcc' && time.startsWith('2016'));
  expect('DuckDB: rows of a year', (await rows('FROM lte_srv_meas_pcc')).length, of_year.length);
}

async function postgresql() {
  const psql = (sql, ...options) =>
    execFileSync('psql', ['-XqAt', '-v', 'ON_ERROR_STOP=1', ...options],
      {input: sql, maxBuffer: 1 << 28, stdio: ['pipe', 'pipe', 'inherit']})
      .toString().trim();
  psql(fs.readFileSync('schema.postgresql', 'utf8'));
  await check('PostgreSQL', {
    run: async (sums) => psql(sums.map((sum) => `SELECT ${sum};`).join('\n')).split('\n'),
    times: (table) =>
      `SELECT coalesce(round(sum(trunc(extract(epoch FROM "time") * 1000)) / 1000), 0) FROM "${table}"`,
    entries: (table, part, key) => `SELECT count(entry ->> '${key}')
      FROM "${table}", jsonb_array_elements("${part}") entry`,
    type_names: {'timestamp with time zone': 'time', bigint: 'integer',
      'double precision': 'number', text: 'string', jsonb: 'array'},
    types: async () => {
      const all = {};
      for (const row of psql(`SELECT table_name, column_name, data_type
          FROM information_schema.columns WHERE table_schema = 'public'`).split('\n')) {
        const [table, column, type] = row.split('|');
        (all[table] ??= {})[column] = type;
      }
      return all;
    },
  });
  check_join('PostgreSQL', JSON.parse(
    psql(`SELECT json_agg(joined) FROM (${shown('postgresql')[0].replace(';', '')}) joined`)));
}

async function sqlite() {
  const shell = (sql, ...options) => execFileSync('sqlite3', ['-bail', ...options, 'records.db'],
    {input: sql, maxBuffer: 1 << 28, stdio: ['pipe', 'pipe', 'inherit']})
      .toString().trim();
  shell(fs.readFileSync('schema.sqlite', 'utf8'));
  await check('SQLite', {
    run: async (sums) => shell(sums.map((sum) => `SELECT ${sum};`).join('\n')).split('\n'),
    times: (table) => `SELECT coalesce(round(sum(unixepoch("time") * 1000
      + CAST(substr("time", 21, 3) AS INTEGER)) / 1e3), 0) FROM "${table}"`,
    entries: (table, part, key) => `SELECT count(entry.value ->> '$.${key}')
      FROM "${table}", json_each("${part}") entry`,
    type_names: {time: 'time', INTEGER: 'integer', REAL: 'number', TEXT: 'string', array: 'array'},
    types: async () => {
      const all = {};
      for (const {title, properties} of schemas) {
        all[title] = {};
        for (const {name, type} of JSON.parse(shell(`PRAGMA table_info("${title}")`, '-json'))) {
          // Times and arrays are texts there.
          const is_array = properties[name].type === 'array';
          all[title][name] = name === 'time' ? name : is_array ? 'array' : type;
        }
      }
      return all;
    },
  });
  check_join('SQLite', JSON.parse(shell(shown('sqlite')[0], '-json')));
}

(async () => {
  await duckdb();
  await postgresql();
  await sqlite();
  console.log(failures === 0 ? 'all as in the JSON lines' : `${failures} differ`);
  process.exit(failures === 0 ? 0 : 1);
})();
