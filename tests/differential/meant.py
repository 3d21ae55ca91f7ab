"""Differences that are meant: what this tree knowingly does otherwise than older commits.

    over-long records    in the compile of a loadable pdb, a group, a protocol, a table or a stray
                         record that claims more words than its parent holds ends with the parent;
                         it was passed over together with all that is behind it
    bound of the values  values are bounded by what one matcher takes, not by the size of the file
"""

import os

DESCRIPTIONS = 1  # root records, and within them
GROUP = 1
LIST = 1


def records_of(data):
    """Yields (type, value, whether it claims more than there is) of the records in `data`."""
    at = 0
    while at + 4 <= len(data):
        end = at + 4 + 4 * int.from_bytes(data[at + 1:at + 4], "big")
        yield data[at], data[at + 4:end], end > len(data)
        at = end


def has_over_long(data, depth=0):
    """Tells whether a record in the descriptions of a pdb claims more than its parent holds."""
    descend = (DESCRIPTIONS, GROUP, LIST)
    return any((over_long and depth > 0) or
               (depth < len(descend) and kind == descend[depth] and has_over_long(value, depth + 1))
               for kind, value, over_long in records_of(data))


def inputs_of(arguments, folder):
    """Yields the contents of the pdbs that a run reads."""
    for option, value in zip(arguments, arguments[1:]):
        if option == "--pdb-in":
            for name in value.split(";"):
                path = os.path.join(folder, name)
                if os.path.isfile(path):
                    with open(path, "rb") as file:
                        yield file.read()


def name_of(arguments, folder, base):
    """Returns the name of the intended difference that a run may show, None if there is none."""
    if base is not None and b"values expand to more than" in base.stdout:
        return "bound of the values"
    if any(has_over_long(data) for data in inputs_of(arguments, folder)):
        return "over-long records"
    return None
