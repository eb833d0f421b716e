# Type hints of brinora.pandas.
from typing import Any, Iterable, List, Optional, Union

import numpy as np
import numpy.typing as npt
import pandas as pd

Column = Union[str, float, None]
Option = Union[int, str, None]

BATCH_COLUMNS: List[str]
RECORD_COLUMNS: List[str]
SALINITY_MISSING: str
TEMPERATURE_MISSING: str
PAIR_MISSING: str

def read_batch_csv(path: Any, **kwargs: Any) -> pd.DataFrame: ...
def reason(status: npt.ArrayLike) -> npt.NDArray[np.object_]: ...
def compute(df: pd.DataFrame, salinity: Column = None, temperature: Column = None,
            pressure: Column = None, phosphate: Column = None, silicate: Column = None, *,
            ta: Column = None, tco2: Column = None, ph: Column = None, fco2: Column = None,
            pco2: Column = None, temperature_out: Column = None, pressure_out: Column = None,
            wind_speed: Column = None, pco2_air: Column = None, constants: Option = None,
            khso4: Option = None, ph_scale: Option = None, flux: Option = None,
            results: Union[str, Iterable[str], None] = None, validate: bool = True,
            threads: Optional[int] = None) -> pd.DataFrame: ...
def compute_dask(paths: Any, blocksize: Union[str, int] = "64MB", **options: Any) -> Any: ...
