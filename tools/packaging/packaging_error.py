"""The one error packaging reports: its text says what is wrong and what to do about it."""


class PackagingError(Exception):
    pass
