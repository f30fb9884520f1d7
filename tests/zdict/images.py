"""Builds dictionary images, independent of the library's own writer."""

import struct

MAGIC = b"ZString Binary Format"


def bucket(key):
    step = max(len(key) // 5, 1)
    number = 0
    for byte in key[::step]:
        number = ((number << 5) + byte) % 1021
    return number


def by_bucket(entries):
    """Numbers of entries, by bucket, as a list of pairs in ascending order."""
    buckets = {}
    for number, entry in enumerate(entries):
        buckets.setdefault(bucket(entry[0]), []).append(number)
    return sorted(buckets.items())


def runs(items, order):
    """Offsets and lengths of byte strings, as tables."""
    offsets, at = [], 0
    for item in items:
        offsets.append(at)
        at += len(item)
    lengths = [len(item) for item in items]
    count = len(items)
    return struct.pack(f"{order}{count}I{count}H", *offsets, *lengths)


def flat(entries, big=False, keyed=True, locale="en_US", base=0):
    """Version 2.7. An entry is a key, a text and, if it has one, a comment."""
    order, coding = (">", "utf-16-be") if big else ("<", "utf-16-le")

    def numbers(*values, form="I"):
        return struct.pack(f"{order}{len(values)}{form}", *values)

    entries = [(entry[0].encode(), *entry[1:]) for entry in entries]
    keys = [entry[0] for entry in entries]
    values = [entry[1].encode(coding, "surrogatepass") for entry in entries]
    buckets = by_bucket(entries)
    image = MAGIC + bytes([2, 7, 0, big])
    image += numbers(len(locale)) + locale.encode()
    image += numbers(base) + (b"Y" if keyed else b"N")
    image += numbers(len(keys), len(keys), len(buckets))
    if keyed:
        image += numbers(len(b"".join(keys)))
    image += numbers(len(b"".join(values)))
    if keyed:
        image += runs(keys, order)
    image += runs(values, order)
    if keyed:
        image += b"".join(keys)
    image += b"".join(values)
    if keyed:
        image += numbers(*(number for number, _ in buckets), form="H")
        image += numbers(*(len(ids) for _, ids in buckets))
        image += numbers(*(slot for _, ids in buckets for slot in ids))
    comments = [(slot, entry[2].encode(coding)) for slot, entry in enumerate(entries)
                if len(entry) > 2]
    image += numbers(len(comments))
    if comments:
        texts = [text for _, text in comments]
        image += numbers(len(b"".join(texts)))
        image += numbers(*(slot for slot, _ in comments))
        image += runs(texts, order) + b"".join(texts)
    return image


def legacy(entries, minor, flag=0, coding="utf-16-le"):
    """Version 1.0 or 1.5."""
    entries = [(key.encode(), text.encode(coding)) for key, text in entries]
    buckets = by_bucket(entries)
    image = MAGIC + bytes([1, minor, flag])
    if minor == 5:
        ends, lengths, data = [], [], b""
        for _, ids in buckets:
            for number in ids:
                lengths += [len(part) for part in entries[number]]
                data += b"".join(entries[number])
            ends.append(len(lengths))
        image += struct.pack(f"<I{len(ends)}I{len(lengths)}I", len(ends), *ends, *lengths)
        return image + struct.pack(f"<{len(buckets)}H", *(n for n, _ in buckets)) + data
    records, data = [], b""
    for number, ids in buckets:
        records.append((number, len(data)))
        for entry in ids:
            for part in entries[entry]:
                data += struct.pack("<I", len(part)) + part
    records.append((0, len(data)))
    image += struct.pack("<H", len(records))
    return image + b"".join(struct.pack("<HI", *record) for record in records) + data
