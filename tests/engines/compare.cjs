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
const piped = {maxBuffer: 1 << 28, stdio: ['pipe', 'pipe', 'inherit']};
const rounded = (value) => Number(value).toFixed(4);

/// The statements that a page shows for an engine.
const shown = (engine, page = manual) =>
  [...page.matchAll(new RegExp('```' + engine + '\n([^`]*)```', 'g'))].map((m) => m[1]);

const columns_of = ({properties}) =>
  Object.entries(properties).filter(([name]) => name !== 'name' && name !== 'raw');
const type_of = ([name, {type}]) => name === 'time' ? name : [type].flat()[0];

/// Each fact is a question in SQL, made by `ask`, and the answer that the lines give.
function facts(ask) {
  const all = [];
  for (const schema of schemas) {
    const {title} = schema;
    const of = lines.filter((line) => line.name === title);
    all.push([`rows of ${title}`, `SELECT count(*) FROM "${title}"`, of.length]);
    for (const column of columns_of(schema)) {
      const [name, {items}] = column;
      const type = type_of(column);
      const what = `${title}.${name}`;
      const values = of.map((line) => line[name]).filter((value) => value !== null);
      const sum_of = (number) => values.reduce((to, value) => to + number(value), 0);
      const total = (sql) => `SELECT coalesce(sum(${sql}), 0) FROM "${title}"`;
      all.push([`values of ${what}`, `SELECT count("${name}") FROM "${title}"`, values.length]);
      if (type === 'time') {
        all.push([`sum of ${what}`, ask.times(title), Math.round(sum_of(Date.parse) / 1000)]);
      } else if (type === 'string') {
        all.push([`letters of ${what}`, total(`length("${name}")`), sum_of((text) => [...text].length)]);
      } else if (type === 'array') {
        for (const key of Object.keys(items.properties)) {
          const count = values.flat().filter((entry) => entry[key] !== null).length;
          all.push([`entries ${what}.${key}`, ask.entries(title, name, key), count]);
        }
      } else {
        all.push([`sum of ${what}`, total(`"${name}"`), sum_of(Number)]);
      }
    }
  }
  for (const {name, records} of summary.records) {
    all.push([`summary of ${name}`, `SELECT count(*) FROM "${name}"`, records]);
  }
  return all;
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

const information = `SELECT table_name, column_name, data_type FROM information_schema.columns
  WHERE table_schema IN ('main', 'public')`;

/// `ask.rows` gives the rows of a query as objects, `ask.answers` the values of several expressions.
async function check(engine, ask) {
  const all = facts(ask);
  const answers = await ask.answers(all.map(([, sql]) => `(${sql})`));
  all.forEach(([what, , wanted], i) =>
    expect(`${engine}: ${what}`, rounded(answers[i]), rounded(wanted)));
  const types = {};
  for (const {table_name, column_name, data_type} of await ask.rows(ask.columns ?? information)) {
    types[`${table_name}.${column_name}`] = data_type.replace(/.*(?=\[\]$)/, '');
  }
  for (const schema of schemas) {
    for (const column of columns_of(schema)) {
      const what = `${schema.title}.${column[0]}`;
      expect(`${engine}: type of ${what}`, types[what], ask.types[type_of(column)]);
    }
  }
  const rows = await ask.rows(shown(engine.toLowerCase())[0].replace(';', ''));
  const with_cell = rows.filter((row) => row.cell_identity !== null && row.cell_identity !== '');
  expect(`${engine}: as-of join`, [rows.length, with_cell.length,
    with_cell.reduce((sum, row) => sum + Number(row.cell_identity), 0)], joined());
  console.log(`${engine}: ${all.length} facts of ${schemas.length} tables`);
}

async function duckdb() {
  const db = await (await DuckDBInstance.create(':memory:')).connect();
  const rows = async (sql) => (await db.runAndReadAll(sql)).getRowObjectsJson();
  await db.run("SET TimeZone = 'Asia/Kolkata'");
  await db.run(fs.readFileSync('schema.duckdb', 'utf8'));
  await check('DuckDB', {
    rows,
    answers: async (sums) => {
      const answers = [];
      for (const sum of sums) answers.push((await rows(`SELECT ${sum} AS answer`))[0].answer);
      return answers;
    },
    times: (table) => `SELECT coalesce(round(sum(epoch_us("time") // 1000) / 1e3), 0) FROM "${table}"`,
    entries: (table, part, key) =>
      `SELECT count(entry."${key}") FROM (SELECT unnest("${part}") AS entry FROM "${table}")`,
    types: {time: 'TIMESTAMP WITH TIME ZONE', integer: 'BIGINT', number: 'DOUBLE', string: 'VARCHAR',
      array: '[]'},
  });
  const [, parquet, csv] = shown('duckdb');
  const differing = async (what, one, other) => expect(`DuckDB: rows that ${what}`, (await rows(
    `(FROM ${one} EXCEPT ALL FROM ${other}) UNION ALL (FROM ${other} EXCEPT ALL FROM ${one})`)).length, 0);
  await db.run(parquet);
  await differing('Parquet changes', 'lte_srv_meas_pcc', "'lte_srv_meas_pcc.parquet'");
  await db.run('CREATE TABLE loaded AS FROM lte_tx_power; DELETE FROM lte_tx_power');
  await db.run(csv);
  await differing('differ between CSV and JSON', 'lte_tx_power', 'loaded');
  const days = fs.readdirSync('out/tables/record=lte_srv_meas_pcc');
  const [levels, load] = shown('duckdb', fleet);
  const read = days.filter((day) => day.startsWith('day=2016')).length;
  const plan = JSON.stringify(await rows('EXPLAIN ' + levels)); // which does not say so of all files
  expect('DuckDB: files of a year', plan.match(/Scanning Files: [0-9/]*/), read === days.length ? null : `Scanning Files: ${read}/${days.length}`);
  await db.run(`DELETE FROM lte_srv_meas_pcc; ${load}`);
  const of_year = lines.filter(({name, time}) => name === 'lte_srv_meas_pcc' && time.startsWith('2016'));
  expect('DuckDB: rows of a year', (await rows('FROM lte_srv_meas_pcc')).length, of_year.length);
}

async function postgresql() {
  const psql = (sql) => execFileSync('psql', ['-XqAt', '-v', 'ON_ERROR_STOP=1'], {...piped, input: sql})
    .toString().trim();
  psql(fs.readFileSync('schema.postgresql', 'utf8'));
  await check('PostgreSQL', {
    rows: async (sql) => JSON.parse(psql(`SELECT json_agg(one) FROM (${sql}) one`)),
    answers: async (sums) => psql(sums.map((sum) => `SELECT ${sum};`).join('\n')).split('\n'),
    times: (table) =>
      `SELECT coalesce(round(sum(trunc(extract(epoch FROM "time") * 1000)) / 1000), 0) FROM "${table}"`,
    entries: (table, part, key) => `SELECT count(entry ->> '${key}')
      FROM "${table}", jsonb_array_elements("${part}") entry`,
    types: {time: 'timestamp with time zone', integer: 'bigint', number: 'double precision',
      string: 'text', array: 'jsonb'},
  });
}

async function sqlite() {
  const shell = (sql, ...options) =>
    execFileSync('sqlite3', ['-bail', ...options, 'records.db'], {...piped, input: sql}).toString().trim();
  shell(fs.readFileSync('schema.sqlite', 'utf8'));
  await check('SQLite', {
    rows: async (sql) => JSON.parse(shell(sql, '-json')),
    answers: async (sums) => shell(sums.map((sum) => `SELECT ${sum};`).join('\n')).split('\n'),
    times: (table) => `SELECT coalesce(round(sum(unixepoch("time") * 1000
      + CAST(substr("time", 21, 3) AS INTEGER)) / 1e3), 0) FROM "${table}"`,
    entries: (table, part, key) => `SELECT count(entry.value ->> '$.${key}')
      FROM "${table}", json_each("${part}") entry`,
    columns: `SELECT tables.name AS table_name, columns.name AS column_name, columns.type AS data_type
      FROM sqlite_schema tables, pragma_table_info(tables.name) columns`,
    types: {time: 'TEXT', integer: 'INTEGER', number: 'REAL', string: 'TEXT', array: 'TEXT'},
  });
}

(async () => {
  await duckdb();
  await postgresql();
  await sqlite();
  console.log(failures === 0 ? 'all as in the JSON lines' : `${failures} differ`);
  process.exit(failures === 0 ? 0 : 1);
})();
