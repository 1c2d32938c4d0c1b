"""The one exception of the package."""


class Qz3Error(RuntimeError):
    """A failure of libqz3 or of the package around it.

    ``str(error)`` is the library's own line where the library failed
    ("QZ3_GetValue: parameter R9.R not found"), so that a script can show or
    compare it exactly as a C host would see it.
    """

    def __init__(self, text):
        super().__init__(text)
        self.text = text
