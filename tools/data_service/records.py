"""The records a store hands out, the same for every storage engine."""

import collections

# An upload as stored. facts: the derived summary (machine.derive); machine_key is None when the
# report holds none of the values a machine is recognised by.
Upload = collections.namedtuple(
    "Upload", "id received_at referrer session raw_body report machine_key facts")
# An upload without its bodies, for lists.
UploadSummary = collections.namedtuple(
    "UploadSummary", "id received_at referrer session machine_key facts")
# A machine: its key, how many uploads it made, when first and last, and its latest facts.
MachineSummary = collections.namedtuple(
    "MachineSummary", "key uploads first_seen last_seen latest_id facts")
