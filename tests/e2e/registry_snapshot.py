"""A registry tree as `reg export` writes it, reduced to what two snapshots are compared by:
the keys, and each value as (key, name, data text). Key and value names are compared without
regard to case, as Windows does; data texts are compared exactly."""

import os


class Snapshot:
    def __init__(self, keys, values):
        # Lower-case key path -> the path as exported.
        self.keys = keys
        # (lower-case key, lower-case name) -> (key, name, data text)
        self.values = values

    @classmethod
    def parse(cls, text):
        keys = {}
        values = {}
        key = None
        for line in logical_lines(text):
            if line.startswith("[") and line.endswith("]"):
                key = line[1:-1]
                keys[key.lower()] = key
            elif key is not None and line and not line.startswith(";"):
                name, data = split_value(line)
                values[(key.lower(), name.lower())] = (key, name, data)
        return cls(keys, values)

    def without(self, prefix):
        """The snapshot without the keys at or below prefix (lower case, no trailing backslash)."""
        def kept(key):
            return key != prefix and not key.startswith(prefix + "\\")

        return Snapshot({k: v for k, v in self.keys.items() if kept(k)},
                        {k: v for k, v in self.values.items() if kept(k[0])})


class Difference:
    """What changed from one snapshot to the next."""

    def __init__(self, before, after):
        self.added_keys = sorted(after.keys[k] for k in after.keys.keys() - before.keys.keys())
        self.removed_keys = sorted(before.keys[k] for k in before.keys.keys() - after.keys.keys())
        self.added_values = sorted(after.values[k] for k in after.values
                                   if k not in before.values or before.values[k] != after.values[k])
        self.removed_values = sorted(before.values[k] for k in before.values.keys()
                                     if k not in after.values or after.values[k] != before.values[k])

    def comparable(self):
        """Case-insensitive names, exact data: what two installations are compared by."""
        return ({key.lower() for key in self.added_keys},
                {(key.lower(), name.lower(), data) for key, name, data in self.added_values},
                {key.lower() for key in self.removed_keys},
                {(key.lower(), name.lower(), data) for key, name, data in self.removed_values})

    def is_empty(self):
        return not (self.added_keys or self.removed_keys or self.added_values
                    or self.removed_values)

    def describe(self):
        lines = ["+ [%s]" % key for key in self.added_keys]
        lines += ["- [%s]" % key for key in self.removed_keys]
        lines += ["+ %s\\%s = %s" % value for value in self.added_values]
        lines += ["- %s\\%s = %s" % value for value in self.removed_values]
        return "\n".join(lines) or "(no change)"


def logical_lines(text):
    """The export's lines with continued values (a trailing backslash) joined."""
    pending = ""
    for raw in text.splitlines():
        line = raw.rstrip()
        if pending:
            line = pending + line.lstrip()
        if line.endswith("\\") and not line.startswith("["):
            pending = line[:-1]
            continue
        pending = ""
        yield line


def split_value(line):
    """(name, data text) of a value line: @=... is the default value, "name"=... a named one."""
    if line.startswith("@="):
        return "", line[2:]
    if not line.startswith('"'):
        raise ValueError("unexpected line in registry export: %r" % line)
    pos = 1
    name = []
    while line[pos] != '"':
        if line[pos] == "\\":
            pos += 1
        name.append(line[pos])
        pos += 1
    if line[pos + 1] != "=":
        raise ValueError("unexpected line in registry export: %r" % line)
    return "".join(name), line[pos + 2:]


def export(env, key, name):
    """Snapshot of a key of the Wine prefix (reg export writes UTF-16)."""
    path = os.path.join(env.work, name + ".reg")
    code, output = env.wine("reg", "export", key, env.windows_path(path), "/y")
    if code != 0:
        raise RuntimeError("reg export %s failed with %d: %r" % (key, code, output))
    with open(path, encoding="utf-16") as handle:
        return Snapshot.parse(handle.read())
