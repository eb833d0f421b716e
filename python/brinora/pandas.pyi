# Type hints of brinora.pandas.
from typing import Any, Iterable, List, Mapping, Optional, Union

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
def sensitivities(df: pd.DataFrame, salinity: Column = None, temperature: Column = None,
                  pressure: Column = None, phosphate: Column = None, silicate: Column = None, *,
                  ta: Column = None, tco2: Column = None, ph: Column = None, fco2: Column = None,
                  pco2: Column = None, temperature_out: Column = None, pressure_out: Column = None,
                  wind_speed: Column = None, pco2_air: Column = None, constants: Option = None,
                  khso4: Option = None, ph_scale: Option = None, flux: Option = None,
                  results: Union[str, Iterable[str], None] = None,
                  sources: Union[str, Iterable[str], None] = None,
                  threads: Optional[int] = None) -> pd.DataFrame: ...
def uncertainty(df: pd.DataFrame, salinity: Column = None, temperature: Column = None,
                pressure: Column = None, phosphate: Column = None, silicate: Column = None, *,
                ta: Column = None, tco2: Column = None, ph: Column = None, fco2: Column = None,
                pco2: Column = None, temperature_out: Column = None, pressure_out: Column = None,
                wind_speed: Column = None, pco2_air: Column = None, constants: Option = None,
                khso4: Option = None, ph_scale: Option = None, flux: Option = None,
                u_ta: Column = None, u_tco2: Column = None, u_ph: Column = None,
                u_fco2: Column = None, u_pco2: Column = None, u_salinity: Column = None,
                u_temperature: Column = None, u_pressure: Column = None,
                u_phosphate: Column = None, u_silicate: Column = None,
                u_temperature_out: Column = None, u_pressure_out: Column = None,
                u_pco2_air: Column = None, u_wind_speed: Column = None,
                u_constants: Union[str, Mapping[str, float], None] = "standard",
                correlation: Column = 0.0, covariance: Any = None, method: str = "linear",
                draws: int = 10000, seed: int = 0, budget: bool = False,
                results: Union[str, Iterable[str], None] = None,
                threads: Optional[int] = None) -> pd.DataFrame: ...
def buffers(df: pd.DataFrame, salinity: Column = None, temperature: Column = None,
            pressure: Column = None, phosphate: Column = None, silicate: Column = None, *,
            ta: Column = None, tco2: Column = None, ph: Column = None, fco2: Column = None,
            pco2: Column = None, temperature_out: Column = None, pressure_out: Column = None,
            wind_speed: Column = None, pco2_air: Column = None, constants: Option = None,
            khso4: Option = None, ph_scale: Option = None, flux: Option = None,
            threads: Optional[int] = None) -> pd.DataFrame: ...
