#!/usr/bin/env python3
"""Writes the hand-made documents the document tests read, with Python's own XML and JSON
writers, so that the readers meet text that our writers did not make. Run it here to remake them."""
import json
import xml.etree.ElementTree as ET


class Pairs(dict):
    """A JSON object with repeated keys: json writes whatever items() gives."""

    def __init__(self, pairs):
        super().__init__(pairs)
        self.pairs = pairs

    def items(self):
        return self.pairs


def scene():
    nodes = [Pairs([("Name", "node %d" % i), ("Index", i), ("Weight", i / 4.0), ("Visible", i % 2 == 0)])
             for i in range(3)]
    return Pairs([
        ("Version", 2),
        ("Title", "Caf\u00e9 \"quoted\" <tag> & \\ back\tslash \U0001F600"),
        ("Offset", -7.25),
        ("Huge", 4294967295),
        ("Tags", ["arrays", "are", "no", "scopes"]),
        ("Nothing", None),
        ("Scene", Pairs([("Node", nodes[0]), ("Comment", "between"), ("Node", nodes[1]), ("Node", nodes[2])])),
    ])


with open("python_scene.json", "w", encoding="utf-8") as out:
    json.dump(scene(), out, indent=4, ensure_ascii=True)

root = ET.Element("Scene", {"Version": "2"})
root.append(ET.Comment(" three nodes "))
for i in range(3):
    node = ET.SubElement(root, "Node", {"Name": "node %d" % i, "Index": str(i), "Weight": repr(i / 4.0),
                                        "Visible": "true" if i % 2 == 0 else "false"})
    if i == 1:
        node.text = "text is a scope too"
ET.SubElement(root, "Document", {"Title": "Caf\u00e9 \"quoted\" <tag> & 'apos'", "Offset": "-7.25"})
ET.indent(root, space="\t")
ET.ElementTree(root).write("python_scene.xml", encoding="utf-8", xml_declaration=True)

# The same documents as Windows editors save them: byte order mark and CRLF line ends.
for name in ("python_scene.json", "python_scene.xml"):
    with open(name, encoding="utf-8") as source:
        text = source.read()
    stem, extension = name.rsplit(".", 1)
    with open("%s_bom.%s" % (stem, extension), "w", encoding="utf-8-sig", newline="\r\n") as out:
        out.write(text)
