// Parses PowerShell and prints each place that the grammar does not understand, as "file:line:column: text".
//
//   node --liftoff-only parse.mjs FILE...    FILE.ps1 is a script; in other files each block of indented lines is one
//
// With the option node does not optimise the grammar's code, which would take a minute at the end.
//
// Exit code 0: the grammar understood everything.
import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { Language, Parser } from 'web-tree-sitter';

// The grammar does not know lists of bare words (Format-Table Name, Speed): such a list counts as one word.
function typed(line) {
  return line.slice(4).replace(/\b(\w+), (?=\w)/g, '$1_') + '\n';
}

// [first line, text] of every block of lines that are indented by four blanks, in which documents show commands.
function blocks(text) {
  const found = [];
  text.split('\n').forEach((line, number) => {
    const last = found.at(-1);
    if (!line.startsWith('    ')) {
      found.push(null);
    } else if (last) {
      last[1] += typed(line);
    } else {
      found.push([number, typed(line)]);
    }
  });
  return found.filter(Boolean);
}

function* errors(node) {
  if (node.isError || node.isMissing) {
    yield node;
  } else if (node.hasError) {
    for (const child of node.children) yield* errors(child);
  }
}

await Parser.init();
const parser = new Parser();
parser.setLanguage(await Language.load(
  fileURLToPath(import.meta.resolve('tree-sitter-powershell/tree-sitter-powershell.wasm'))));
let failed = false;
for (const file of process.argv.slice(2)) {
  const text = readFileSync(file, 'utf8').replaceAll('\r', '');
  for (const [first, script] of file.endsWith('.ps1') ? [[0, text]] : blocks(text)) {
    for (const node of errors(parser.parse(script).rootNode)) {
      failed = true;
      const { row, column } = node.startPosition;
      console.log(`${file}:${first + row + 1}:${column + 1}: ${node.isMissing ? 'missing ' + node.type : node.text.split('\n')[0]}`);
    }
  }
}
process.exitCode = failed ? 1 : 0;
