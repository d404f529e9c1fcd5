#!/usr/bin/env node
// The JavaScript side of the Xtream loading benchmark: the same answer bytes turned into the same
// records as XtreamReaders does, with JSON.parse and plain JavaScript, measured the way
// quenvo-bench-xtream measures the readers.
//   node --expose-gc xtream.js [--runs 7] [--line] [options] <file> <kind>
// kind "live": a get_live_streams answer becomes channels; --categories names the
//   get_live_categories answer read with it (parsed in the same timed run), --base, --username,
//   --password and --extension build the stream addresses.
// kind "movies": a get_vod_streams answer becomes catalogue items of the category --category.
//
// The file is read once and decoded to a string, timed on its own. The first run gives the peak
// memory (resident growth during that run, from the kernel's high-water mark reset just before it);
// the timed runs follow, each after a full garbage collection when --expose-gc is on. A run is
// JSON.parse plus the mapping, from the decoded text to the records.
'use strict'

const crypto = require('crypto')
const fs = require('fs')
const { performance } = require('perf_hooks')
const { startPeakMemory, median, collectGarbage } = require('./measure')

function usage() {
  process.stderr.write(
    'usage: node --expose-gc xtream.js [--runs N] [--line] [--categories FILE] [--base URL] [--username U]\n' +
      '         [--password P] [--extension E] [--category ID] <file> <live|movies>\n'
  )
  process.exit(2)
}

function options(argv) {
  const result = {
    runs: 7,
    line: false,
    categories: undefined,
    base: 'http://127.0.0.1',
    username: 'demo',
    password: 'demo',
    extension: 'm3u8',
    category: '1',
    positional: [],
  }
  const valued = new Set(['runs', 'categories', 'base', 'username', 'password', 'extension', 'category'])
  for (let i = 0; i < argv.length; ++i) {
    const argument = argv[i]
    if (argument === '--line') {
      result.line = true
      continue
    }
    if (argument.startsWith('--')) {
      const [name, inline] = argument.slice(2).split(/=(.*)/s)
      if (!valued.has(name)) usage()
      const value = inline !== undefined ? inline : argv[++i]
      if (value === undefined) usage()
      result[name] = name === 'runs' ? Number(value) : value
      continue
    }
    result.positional.push(argument)
  }
  if (result.positional.length !== 2 || !Number.isInteger(result.runs) || result.runs < 1) usage()
  const [file, kind] = result.positional
  if (kind !== 'live' && kind !== 'movies') usage()
  return { ...result, file, kind }
}

// ---------------------------------------------------------------------------------------------------
// The mapping, rule for rule as XtreamJson and XtreamReaders read provider JSON.

class ReaderError extends Error {}

function has(row, key) {
  return Object.prototype.hasOwnProperty.call(row, key)
}

// A string as itself; a whole number without a decimal point; true and false as "1" and "0";
// anything else, or nothing, as the empty text.
function text(value) {
  switch (typeof value) {
    case 'string':
      return value
    case 'number':
      return Number.isInteger(value) && Math.abs(value) < 9007199254740992 ? value.toFixed(0) : String(value)
    case 'boolean':
      return value ? '1' : '0'
    default:
      return ''
  }
}

// The value of `first` when the row has that key (whatever it holds), else of the next one.
function valueOr(row, ...keys) {
  for (const key of keys) if (has(row, key)) return row[key]
  return undefined
}

const digitsOnly = /^[0-9]+$/

// Every UTF-8 byte percent-encoded except A–Z a–z 0–9 - . _ ~ (encodeURIComponent also spares ! ' ( ) *).
function encoded(value) {
  return encodeURIComponent(value).replace(/[!'()*]/g, (c) => '%' + c.charCodeAt(0).toString(16).toUpperCase())
}

// An array whose every element is an object (not an array, not null), else nothing.
function objectRows(root) {
  if (!Array.isArray(root)) return undefined
  for (const row of root) if (row === null || typeof row !== 'object' || Array.isArray(row)) return undefined
  return root
}

function liveRows(root) {
  const rows = objectRows(root)
  if (rows === undefined) throw new ReaderError('Catàleg Xtream no vàlid.')
  return rows
}

const liveGroupDefault = 'Directe'

function liveCategories(body) {
  const names = new Map()
  for (const row of liveRows(JSON.parse(body)))
    names.set(text(row.category_id), typeof row.category_name === 'string' ? row.category_name : liveGroupDefault)
  return names
}

function liveStreams(body, settings, categories) {
  const rows = liveRows(JSON.parse(body))
  const base = settings.base.trim().replace(/\/+$/, '')
  const prefix = `${base}/live/${encoded(settings.username)}/${encoded(settings.password)}/`
  const suffix = '.' + settings.extension
  const channels = []
  const seen = new Set()
  for (const row of rows) {
    const id = text(row.stream_id)
    if (id === '' || !digitsOnly.test(id) || seen.has(id)) continue
    seen.add(id)
    const url = prefix + id + suffix
    const name = typeof row.name === 'string' ? row.name : 'Canal ' + id
    const group = categories.get(text(row.category_id)) ?? liveGroupDefault
    channels.push({
      name,
      group: group === '' ? 'Sense categoria' : group,
      url,
      digest: crypto.createHash('sha256').update(url).digest(),
      requiresCustomHeaders: false,
    })
  }
  if (channels.length === 0) throw new ReaderError('El servidor no ha retornat canals en directe.')
  return channels
}

// An absolute http(s) address with a host and no user information, else null.
function httpURL(value) {
  if (value === '') return null
  let url
  try {
    url = new URL(value)
  } catch {
    return null
  }
  if (url.protocol !== 'http:' && url.protocol !== 'https:') return null
  if (url.hostname === '' || url.username !== '' || url.password !== '') return null
  return url
}

// The whole text is a decimal number: digits, sign, point and exponent only, and finite.
function decimalNumber(value) {
  if (value === '' || !/^[0-9.+\-eE]+$/.test(value)) return undefined
  const number = Number(value)
  return Number.isFinite(number) ? number : undefined
}

function catalogRows(root) {
  const rows = objectRows(root)
  if (rows !== undefined) return rows
  if (root !== null && typeof root === 'object' && !Array.isArray(root) && Object.keys(root).length === 0) return []
  throw new ReaderError('El servidor no ha retornat un catàleg vàlid.')
}

function catalogItems(body, categoryID) {
  const rows = catalogRows(JSON.parse(body))
  const items = []
  const taken = new Set()
  for (const row of rows) {
    const id = text(row.stream_id)
    if (id === '' || !digitsOnly.test(id) || taken.has(id)) continue
    taken.add(id)
    items.push({
      id,
      kind: 'movies',
      name: text(row.name) || 'Sense títol',
      categoryID,
      poster: httpURL(text(valueOr(row, 'cover', 'stream_icon'))),
      year: text(valueOr(row, 'year', 'releaseDate', 'release_date')).slice(0, 4),
      rating: text(row.rating),
      plot: text(row.plot),
      fileExtension: text(row.container_extension) || 'mp4',
      added: decimalNumber(text(valueOr(row, 'added', 'last_modified'))) ?? 0,
    })
  }
  return items
}

// SHA-256 over one line per record, so that quenvo-bench-xtream can check that both sides built the
// same records. Computed outside the timed runs.
function fingerprint(kind, records) {
  const hash = crypto.createHash('sha256')
  for (const record of records) {
    const fields =
      kind === 'live'
        ? [record.name, record.group, record.url, record.digest.toString('hex')]
        : [
            record.id,
            record.name,
            record.categoryID,
            record.poster ? record.poster.href : '',
            record.year,
            record.rating,
            record.plot,
            record.fileExtension,
            Number.isInteger(record.added) ? record.added.toFixed(0) : String(record.added),
          ]
    hash.update(fields.join('\t') + '\n')
  }
  return hash.digest('hex')
}





const settings = options(process.argv.slice(2))
const bytes = fs.readFileSync(settings.file)
const categoryBytes = settings.kind === 'live' && settings.categories ? fs.readFileSync(settings.categories) : null

// Bytes to strings: not part of a run (the C++ readers take the bytes and validate UTF-8 as they parse).
function decode() {
  return { body: bytes.toString('utf8'), categories: categoryBytes ? categoryBytes.toString('utf8') : '[]' }
}

function toRecords(input) {
  if (settings.kind === 'live') return liveStreams(input.body, settings, liveCategories(input.categories))
  return catalogItems(input.body, settings.category)
}

const decoding = []
const wall = []
const cpu = []

function run(input, samples, cpuSamples) {
  const cpuStart = process.cpuUsage()
  const start = performance.now()
  const records = toRecords(input)
  samples.push(performance.now() - start)
  if (cpuSamples) {
    const used = process.cpuUsage(cpuStart)
    cpuSamples.push((used.user + used.system) / 1e3)
  }
  return records
}

let input
{
  const start = performance.now()
  input = decode()
  decoding.push(performance.now() - start)
}
collectGarbage()

let records
const first = []
const memory = startPeakMemory()
try {
  records = run(input, first)
} catch (error) {
  process.stderr.write(`xtream.js: ${settings.file}: ${error.message}\n`)
  process.exit(1)
}
const peakGrowth = memory.growth()
const count = records.length
const print = fingerprint(settings.kind, records)
records = undefined

for (let i = 1; i < settings.runs; ++i) {
  const start = performance.now()
  input = decode()
  decoding.push(performance.now() - start)
}
for (let i = 0; i < settings.runs; ++i) {
  collectGarbage()
  if (run(input, wall, cpu).length !== count) {
    process.stderr.write('xtream.js: the run is not repeatable\n')
    process.exit(1)
  }
}

const bodyBytes = bytes.length + (categoryBytes ? categoryBytes.length : 0)
const figures = {
  kind: settings.kind,
  bytes: bodyBytes,
  records: count,
  runs: settings.runs,
  decode_median_ms: median(decoding),
  first_ms: first[0],
  median_ms: median(wall),
  best_ms: Math.min(...wall),
  cpu_median_ms: median(cpu),
  records_per_s: count / (median(wall) / 1e3),
  peak_bytes: peakGrowth,
  peak_ratio: peakGrowth < 0 ? -1 : peakGrowth / bodyBytes,
  peak_method: memory.method,
  fingerprint: print,
}

if (settings.line) {
  const fixed = (key, value) =>
    typeof value === 'string' ? value : Number.isInteger(value) || key === 'records_per_s' ? Math.round(value) : value.toFixed(2)
  process.stdout.write(Object.entries(figures).map(([key, value]) => `${key}=${fixed(key, value)}`).join(' ') + '\n')
} else {
  process.stdout.write(
    JSON.stringify({ node: process.version, file: settings.file, gc_between_runs: typeof global.gc === 'function', ...figures }) +
      '\n'
  )
}
