-- Makes a man page of a manual, which begins with "# NAME: title". The first code block becomes the section SYNOPSIS,
-- what else is before the first heading DESCRIPTION; headings go up one level. From the metadata: `names` and
-- `summary`, which the section NAME says; `docs`, the folder of the package's documents; `pages`, the names of all.

local line_width = 71 -- of 80 columns, after the indentation
local between_columns = 3

local function width(cell)
  return utf8.len(pandoc.utils.stringify(cell.contents))
end

local function longest_word(cell)
  local longest = 0
  for word in pandoc.utils.stringify(cell.contents):gmatch("%S+") do
    longest = math.max(longest, utf8.len(word))
  end
  return longest
end

-- The widths of the columns: what the cells need, and if that is too much, less for the widest.
local function column_widths(rows)
  local widths, least = {}, {}
  for _, row in ipairs(rows) do
    for i, cell in ipairs(row.cells) do
      widths[i] = math.max(widths[i] or 1, width(cell))
      least[i] = math.max(least[i] or 1, longest_word(cell))
    end
  end
  local excess = (#widths - 1) * between_columns - line_width
  for _, each in ipairs(widths) do excess = excess + each end
  while excess > 0 do
    local widest
    for i, each in ipairs(widths) do
      if each > least[i] and (not widest or each > widths[widest]) then widest = i end
    end
    if not widest then break end
    widths[widest] = widths[widest] - 1
    excess = excess - 1
  end
  return widths
end

-- Two columns of which the second does not fit on a line are a list of terms.
function Table(tbl)
  local rows = {tbl.head.rows[1], table.unpack(tbl.bodies[1].body)}
  if #tbl.colspecs == 2 then
    local fits = true
    for _, row in ipairs(rows) do
      fits = fits and width(row.cells[1]) + between_columns + width(row.cells[2]) <= line_width
    end
    if not fits then
      local items = {}
      for i = 2, #rows do
        local term, about = table.unpack(rows[i].cells)
        items[#items + 1] = {pandoc.utils.blocks_to_inlines(term.contents), {about.contents}}
      end
      return pandoc.DefinitionList(items)
    end
  end
  -- The writer takes widths as parts of 70 columns.
  local widths = column_widths(rows)
  for i, spec in ipairs(tbl.colspecs) do
    tbl.colspecs[i] = {spec[1], widths[i] / 70}
  end
  return tbl
end

local docs
local function installed(code)
  local page = code.text:match("^docs/(tvk[a-z-]*)%.md$")
  if page then return pandoc.Str(page .. "(1)") end
  code.text = code.text:gsub("^docs/", docs .. "/"):gsub("^README.md$", docs .. "/%0")
  return code
end

-- Links lead to what is not on the page.
local function without_links(link)
  return link.content
end

local function upper(block)
  return pandoc.walk_block(block, {
    Str = function(str) return pandoc.Str(pandoc.text.upper(str.text)) end,
  })
end

function Pandoc(doc)
  local meta = doc.meta
  docs = pandoc.utils.stringify(meta.docs)
  local title = table.remove(doc.blocks, 1)
  local name = pandoc.utils.stringify(title):match("^([%w-]+): ")
  assert(title.level == 1 and name, "the manual does not begin with '# NAME: title'")

  local synopsis
  local body = {}
  for _, block in ipairs(doc.blocks) do
    if not synopsis and block.t == "CodeBlock" then
      synopsis = block
    else
      if block.t == "Header" then
        assert(synopsis, "the first heading comes before a code block with the command line")
        block.level = block.level - 1
        if block.level == 1 then block = upper(block) end
      end
      body[#body + 1] = block
    end
  end

  local others = {}
  for page in pandoc.utils.stringify(meta.pages):gmatch("%S+") do
    if page ~= name then others[#others + 1] = page .. "(1)" end
  end
  local blocks = {
    pandoc.Header(1, "NAME"),
    pandoc.Para(pandoc.utils.stringify(meta.names) .. " - " .. pandoc.utils.stringify(meta.summary)),
    pandoc.Header(1, "SYNOPSIS"),
    synopsis,
    pandoc.Header(1, "DESCRIPTION"),
  }
  for _, block in ipairs(body) do blocks[#blocks + 1] = block end
  blocks[#blocks + 1] = pandoc.Header(1, "SEE ALSO")
  blocks[#blocks + 1] = pandoc.Para(table.concat(others, ", "))
  meta.title = name:upper()
  meta.section = "1"
  local body_of_page = pandoc.walk_block(pandoc.Div(blocks), {Code = installed, Link = without_links})
  return pandoc.Pandoc(body_of_page.content, meta)
end
