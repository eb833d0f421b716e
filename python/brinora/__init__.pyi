# Type hints of brinora (NumPy front).
from typing import Any, Dict, Iterable, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from ._quantities import Quantity
from .uncertainty import buffers as buffers, sensitivities as sensitivities, uncertainty as uncertainty

__version__: str
QUANTITIES: Dict[str, Quantity]
RESULT_NAMES: Tuple[str, ...]
INPUT_NAMES: Tuple[str, ...]
PARAMETERS: Tuple[str, ...]
STATUS_MESSAGES: Tuple[str, ...]
NO_NUMBER: int
DEFAULT_OPTIONS: Dict[str, int]

ArrayLike = npt.ArrayLike
Option = Union[int, str, None]

class SeawaterRangeWarning(UserWarning): ...

class Result(Dict[str, np.ndarray]):
    options: Dict[str, int]
    def __init__(self, values: Mapping[str, np.ndarray], options: Dict[str, int]) -> None: ...
    @property
    def status(self) -> npt.NDArray[np.int8]: ...
    def reasons(self) -> npt.NDArray[np.object_]: ...
    def units(self, name: str) -> str: ...
    def to_dataframe(self, index: Any = None) -> Any: ...
    def to_xarray(self, dims: Union[str, Sequence[str], None] = None,
                  coords: Optional[Mapping[str, Any]] = None) -> Any: ...

def option_item(option: str, value: Union[int, str]) -> int: ...
def option_title(option: str, item: Union[int, str]) -> str: ...
def option_items(constants: Option = None, khso4: Option = None, ph_scale: Option = None,
                 flux: Option = None) -> Dict[str, int]: ...
def default_threads() -> int: ...
def attributes(name: str, ph_scale_item: int) -> Dict[str, str]: ...
def standard_name(name: str, ph_scale_item: int) -> Optional[str]: ...
def check(salinity: ArrayLike, temperature: ArrayLike, *, ta: Optional[ArrayLike] = None,
          tco2: Optional[ArrayLike] = None, warn: bool = True) -> npt.NDArray[np.int8]: ...
def compute(salinity: ArrayLike, temperature: ArrayLike, pressure: ArrayLike = 0,
            phosphate: ArrayLike = 0, silicate: ArrayLike = 0, *, ta: Optional[ArrayLike] = None,
            tco2: Optional[ArrayLike] = None, ph: Optional[ArrayLike] = None,
            fco2: Optional[ArrayLike] = None, pco2: Optional[ArrayLike] = None,
            temperature_out: Optional[ArrayLike] = None, pressure_out: Optional[ArrayLike] = None,
            wind_speed: Optional[ArrayLike] = None, pco2_air: Optional[ArrayLike] = None,
            constants: Option = None, khso4: Option = None, ph_scale: Option = None,
            flux: Option = None, results: Union[str, Iterable[str], None] = None,
            validate: bool = True, threads: Optional[int] = None) -> Result: ...
