#!/usr/bin/env python3
"""The doc comments of the public headers, outside what g-ir-scanner sees.

  header-docs.py check HEADER...
      Fails, naming each, on every exported declaration (KIV_API) and every
      KIV_ macro of the headers that has no doc comment.  gi-docgen checks
      the introspection data; this also covers what never reaches it.

  header-docs.py page GIR OUTPUT HEADER...
      Writes the Markdown page of the reference that documents the symbols
      the GIR leaves out (the scanner drops names that begin with an
      underscore, exported variables and macros that are not constants).
"""
import re
import sys
import xml.etree.ElementTree as ET

DOC_BLOCK = re.compile(r'/\*\*\n \* ([^\s:]+):[^\n]*\n(.*?)\*/\n(?=((?:[^\n]*\n){0,12}))', re.S)
API_DECL = re.compile(r'^KIV_API\s+(?:extern\s+)?[^;(]*?\b(\w+)\s*(?:\(|\[)', re.M)
MACRO = re.compile(r'^#define\s+(KIV_\w+)', re.M)


def header_symbols(path):
    """(exported names, documented blocks {name: (body, declaration)})."""
    text = open(path, encoding='utf-8').read()
    # Type functions are documented by their class.
    exported = [n for n in API_DECL.findall(text) if not n.endswith('_get_type')]
    exported += [m for m in MACRO.findall(text) if not m.endswith('_H')]
    blocks = {}
    for m in DOC_BLOCK.finditer(text):
        decl = m.group(3)
        end = decl.find(';')
        decl = decl[:end + 1] if end >= 0 and not decl.startswith('#') else decl.split('\n')[0]
        blocks[m.group(1)] = (m.group(2), decl.strip())
    return exported, blocks


def check(headers):
    missing = []
    for path in headers:
        exported, blocks = header_symbols(path)
        missing += [f'{path}: {name} has no doc comment'
                    for name in dict.fromkeys(exported) if name not in blocks]
    for line in missing:
        print(line)
    print(f'{len(missing)} undocumented public symbols in {len(headers)} headers')
    return 1 if missing else 0


def gir_names(gir):
    names = set()
    for el in ET.parse(gir).iter():
        for key, value in el.attrib.items():
            if key.endswith('}identifier') or key.endswith('}type') or key.endswith('}type-name'):
                names.add(value.rstrip('*').replace('const ', '').strip())
    return names


def markdown(body):
    """A doc comment body as Markdown: parameters as a list, sigils as code."""
    lines = [re.sub(r'^ \* ?', '', l) for l in body.rstrip().split('\n')]
    text = '\n'.join(lines).strip()
    # Annotations are for bindings; the page is for C programmers.
    text = re.sub(r'^(@\w+|Returns): (?:\([^)]*\) ?)+:', r'\1:', text, flags=re.M)
    text = re.sub(r'%(\w+)', r'`\1`', text)
    text = re.sub(r'#(Kiv\w+|G\w+)', r'`\1`', text)
    text = re.sub(r'@(\w+)', r'`\1`', text)
    text = re.sub(r'^`(\w+)`: ', r'- `\1`: ', text, flags=re.M)
    return text


def page(gir, output, headers):
    known = gir_names(gir)
    out = ['Title: C-only calls', '',
           '# C-only calls', '',
           'The public symbols of the headers that the introspection data leave',
           'out, so that bindings do not see them: the helpers whose names begin',
           'with an underscore (shared by the chart widgets and available to',
           'classes derived from them), exported tables and the type macros.',
           'C programs use them as declared here.', '']
    for path in headers:
        exported, blocks = header_symbols(path)
        names = [n for n in dict.fromkeys(exported) if n in blocks and n not in known]
        if not names:
            continue
        out += [f'## {path.split("/")[-1]}', '']
        for name in names:
            body, decl = blocks[name]
            if name.startswith('KIV_') and not decl.startswith('#define'):
                decl = f'#define {name}'
            out += [f'### {name}', '', '```c', decl, '```', '', markdown(body), '']
    with open(output, 'w', encoding='utf-8') as f:
        f.write('\n'.join(out))
    return 0


if __name__ == '__main__':
    if len(sys.argv) >= 3 and sys.argv[1] == 'check':
        sys.exit(check(sys.argv[2:]))
    if len(sys.argv) >= 5 and sys.argv[1] == 'page':
        sys.exit(page(sys.argv[2], sys.argv[3], sys.argv[4:]))
    sys.exit(__doc__)
