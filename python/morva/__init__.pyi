from typing import List

from ._morva import (BitmapHeader as BitmapHeader, Image as Image, clear as clear, compose as compose,
                     convert as convert, define_layout as define_layout, formats as formats,
                     pick_format as pick_format, resize as resize)

__all__: List[str]

def set_tracing(enabled: bool) -> bool: ...
def is_tracing() -> bool: ...
