# Type hints of brinora.xarray.
from typing import Any, Iterable, Mapping, Optional, Sequence, Union

import xarray as xr

from . import Result

Input = Union[str, xr.DataArray, float, None]

class ConversionWarning(UserWarning): ...

def check_workers(client: Any = None) -> None: ...
def compute(ds: xr.Dataset, salinity: Input = "so", temperature: Input = "thetao",
            pressure: Input = None, phosphate: Input = None, silicate: Input = None, *,
            ta: Input = None, tco2: Input = None, ph: Input = None, fco2: Input = None,
            pco2: Input = None, temperature_out: Input = None, pressure_out: Input = None,
            wind_speed: Input = None, pco2_air: Input = None, latitude: Input = None,
            longitude: Input = None, units: Optional[Mapping[str, str]] = None,
            results: Union[str, Iterable[str], None] = None, validate: bool = True,
            threads: Optional[int] = None, **options: Union[int, str]) -> xr.Dataset: ...
def result_dataset(result: Result, dims: Union[str, Sequence[str], None] = None,
                   coords: Optional[Mapping[str, Any]] = None) -> xr.Dataset: ...
def sensitivities(ds: xr.Dataset, salinity: Input = "so", temperature: Input = "thetao",
                  pressure: Input = None, phosphate: Input = None, silicate: Input = None, *,
                  ta: Input = None, tco2: Input = None, ph: Input = None, fco2: Input = None,
                  pco2: Input = None, temperature_out: Input = None, pressure_out: Input = None,
                  wind_speed: Input = None, pco2_air: Input = None, latitude: Input = None,
                  longitude: Input = None, units: Optional[Mapping[str, str]] = None,
                  results: Union[str, Iterable[str], None] = None,
                  sources: Union[str, Iterable[str], None] = None, threads: Optional[int] = None,
                  **options: Union[int, str]) -> xr.Dataset: ...
def uncertainty(ds: xr.Dataset, salinity: Input = "so", temperature: Input = "thetao",
                pressure: Input = None, phosphate: Input = None, silicate: Input = None, *,
                ta: Input = None, tco2: Input = None, ph: Input = None, fco2: Input = None,
                pco2: Input = None, temperature_out: Input = None, pressure_out: Input = None,
                wind_speed: Input = None, pco2_air: Input = None, latitude: Input = None,
                longitude: Input = None, units: Optional[Mapping[str, str]] = None,
                u_ta: Input = None, u_tco2: Input = None, u_ph: Input = None, u_fco2: Input = None,
                u_pco2: Input = None, u_salinity: Input = None, u_temperature: Input = None,
                u_pressure: Input = None, u_phosphate: Input = None, u_silicate: Input = None,
                u_temperature_out: Input = None, u_pressure_out: Input = None,
                u_pco2_air: Input = None, u_wind_speed: Input = None,
                u_constants: Union[str, Mapping[str, float], None] = "standard",
                correlation: Input = 0.0, covariance: Any = None, method: str = "linear",
                draws: int = 10000, seed: int = 0, budget: bool = False,
                results: Union[str, Iterable[str], None] = None, threads: Optional[int] = None,
                **options: Union[int, str]) -> xr.Dataset: ...
def buffers(ds: xr.Dataset, salinity: Input = "so", temperature: Input = "thetao",
            pressure: Input = None, phosphate: Input = None, silicate: Input = None, *,
            ta: Input = None, tco2: Input = None, ph: Input = None, fco2: Input = None,
            pco2: Input = None, temperature_out: Input = None, pressure_out: Input = None,
            wind_speed: Input = None, pco2_air: Input = None, latitude: Input = None,
            longitude: Input = None, units: Optional[Mapping[str, str]] = None,
            results: Union[str, Iterable[str], None] = None, threads: Optional[int] = None,
            **options: Union[int, str]) -> xr.Dataset: ...
def add_uncertainty(result: xr.Dataset, uncertainty: xr.Dataset) -> xr.Dataset: ...
