# SPDX-License-Identifier: Apache-2.0
"""Questions about one project and one user."""

from __future__ import annotations

import ctypes
import dataclasses
import functools
import struct
import threading
from typing import TYPE_CHECKING, Any, Callable, Dict, Iterable, Iterator, List, Literal
from typing import Optional, Sequence, Tuple, Type, TypeVar, Union, overload

from . import _c
from ._context import Context, ContextBuffer, User, Zone
from ._exit import CallingBack
from ._experiment import Experiment, experiments_from
from ._handle import Handle, created
from ._records import Assignment, DetailResult, ExperimentDetail, Membership
from ._values import ANY, D, T, Value, number_of, parse, value_from
from .errors import BUSY, DROPPED, FIRST_MISUSE, CorvoError, check, error_of

if TYPE_CHECKING:
    from ._project import Project

R = TypeVar("R")

NOTHING = object()
_FLAG_TEXTS = struct.Struct("NPN")
_MEMBERSHIPS = struct.Struct("NN")
_FORMS = {"text": 0, "json": 1}
Form = Literal["text", "json"]


def form_number(form: str) -> int:
    """The number of a form of an explanation."""
    if form not in _FORMS:
        raise ValueError(f"the form of an explanation is 'text' or 'json', not {form!r}")
    return _FORMS[form]


def details_from(text: str) -> List[ExperimentDetail]:
    """The details report from its JSON."""
    return [
        ExperimentDetail(
            each["type"],
            each["id"],
            each["group"],
            [DetailResult(result["name"], result["value"]) for result in each["results"]],
        )
        for each in parse(text)
    ]


class Fallback:
    """Takes a value in a `with` statement, in which the library may raise its errors. If there is a
    default, it replaces these errors and None."""

    def __init__(self, default: Any):
        self._default = default
        self.value: Any = None

    def __enter__(self) -> "Fallback":
        return self

    def __exit__(self, kind: Any, error: Any, traceback: Any) -> bool:
        if self._default is NOTHING:
            return False
        if self.value is None:
            self.value = self._default
        if isinstance(error, CorvoError):
            return error.code < FIRST_MISUSE or error.code == DROPPED
        return isinstance(error, TimeoutError)


class Selection:
    """The flags and experiments that a report is about, by position."""

    def __init__(self, flags: Sequence[int], experiments: Sequence[int]):
        self.flags = _c.sizes_from(flags)
        self.experiments = _c.sizes_from(experiments)


class Evaluation:
    """Answers questions about one project and one user at a time. `Project.evaluate` creates one.

    Each question may be asked on any thread. Give each thread its own, since they cannot ask at
    once and share one user.
    """

    def __init__(self, project: Project, user: User):
        self._project = project
        self._lock = threading.RLock()
        self._asking = False
        self._zone: Optional[Zone] = None
        self._buffer = ContextBuffer()
        self._buffer.write(user)
        create = functools.partial(self._call, _c.lib.corvo_evaluation_create)
        number = created(create, project._handle, self._buffer.struct)
        self._handle = Handle(number, _c.lib.corvo_evaluation_free)
        self._zone = self._buffer.zone
        self._check(0)
        self._items = ctypes.c_void_p()
        self._count = ctypes.c_size_t()

    @property
    def project(self) -> Project:
        """The project that the questions are about."""
        return self._project

    def reset(self, user: User = Context()) -> None:
        """Switches to another user. After a TypeError or ValueError, the user stays the same."""
        self._exclusively(lambda: self._reset(lambda: self._buffer.write(user)))

    @overload
    def check_flag(self, name: str, kind: Type[T]) -> Optional[T]: ...
    @overload
    def check_flag(self, name: str, kind: Type[T], *, default: T) -> T: ...
    @overload
    def check_flag(self, name: str) -> Optional[Value]: ...
    @overload
    def check_flag(self, name: str, *, default: D) -> Union[Value, D]: ...
    def check_flag(
        self, name: str, kind: Optional[type] = None, *, default: Any = NOTHING
    ) -> Any:
        """The flag's value for the user, read as a type: `bool`, `int`, `float`, `str`, `dict` (a
        JSON object), or None for the first that fits. None if its text is not valid for the type.

        Raises `CorvoError` if there is no value: for example "featureFlagNotFound". With a
        `default`, that is returned instead of None and of such errors.
        """
        number = number_of(kind)
        text = _c.text_from(name)
        with Fallback(default) as answer:
            answer.value = self._exclusively(functools.partial(self._check_flag, text, number))
        return answer.value

    def flags(self) -> Dict[str, Value]:
        """The values of all flags of the configuration that have one for the user."""
        return self._exclusively(lambda: self._flag_values(self._project._everything))

    def experiment(self, name: str) -> Optional[Experiment]:
        """The first experiment of that name that the user takes part in, or None. Raises
        `CorvoError` if the project has none of that name."""
        text = _c.text_from(name)
        handle = ctypes.c_void_p()

        def read() -> Optional[Experiment]:
            return Experiment(handle.value) if handle.value else None

        return self._ask(_c.lib.corvo_evaluation_experiment, text, handle, read=read)

    def all_experiments(self) -> List[Experiment]:
        """The experiments that the user takes part in, holdouts included."""
        handles = ctypes.POINTER(ctypes.c_void_p)()
        count = ctypes.c_size_t()

        def read() -> List[Experiment]:
            return experiments_from(handles, count.value)

        function = _c.lib.corvo_evaluation_all_experiments
        return self._ask(function, handles, count, read=read)

    def experiments(self) -> List[Membership]:
        """The user's groups in experiments, in the configuration's order."""
        return self._exclusively(lambda: self._groups(self._project._everything)[0])

    def holdouts(self) -> List[Membership]:
        """The user's groups in holdouts, in the configuration's order."""
        return self._exclusively(lambda: self._groups(self._project._everything)[1])

    def experiments_text(self, estimate_holdouts: bool = True) -> Optional[str]:
        """The experiments that the user takes part in, as "checkout.1|colors.0"; None if there are
        none."""
        return self._text(_c.lib.corvo_evaluation_experiments, bool(estimate_holdouts))

    def holdouts_text(self) -> Optional[str]:
        """The holdouts that the user is in, in the same form."""
        return self._text(_c.lib.corvo_evaluation_holdouts)

    def details(self, estimate_holdouts: bool = True) -> List[ExperimentDetail]:
        """The experiments that the user takes part in, with the values that they give."""
        json = self._result(_c.lib.corvo_evaluation_details, bool(estimate_holdouts))
        return details_from(json)

    def holdout(self, name: str) -> bool:
        """Whether the user is in the first holdout of that name."""
        text = _c.text_from(name)
        is_in = ctypes.c_bool()
        function = _c.lib.corvo_evaluation_holdout
        return self._ask(function, text, is_in, read=lambda: bool(is_in.value))

    def explain_flag(self, name: str, form: Form = "text") -> str:
        """Why the flag has its value for the user, as a human-readable text or as JSON. If there is
        no such flag, the explanation says so; this is not an error."""
        return self._result(
            _c.lib.corvo_evaluation_explain_flag, _c.text_from(name), form_number(form)
        )

    def explain_experiment(self, name: str, form: Form = "text") -> str:
        """Why the user is in the experiment or not, in the same forms."""
        return self._result(
            _c.lib.corvo_evaluation_explain_experiment, _c.text_from(name), form_number(form)
        )

    def flag_texts(self, positions: Sequence[int]) -> List[Tuple[int, str]]:
        """The texts of the flags at these positions in `Project.flags`, with their positions. Skips
        flags without a value, flags that only experiments carry, and positions that do not
        exist."""
        flags = _c.sizes_from(positions)

        def read() -> List[Tuple[int, str]]:
            return [
                (flag, _c.str_from(_c.Result(address, size)))
                for flag, address, size in self._list(
                    _c.lib.corvo_evaluation_flag_texts, flags, _FLAG_TEXTS
                )
            ]

        return self._exclusively(read)

    def memberships(self, positions: Sequence[int]) -> List[Tuple[int, int]]:
        """The user's groups in the experiments and holdouts at these positions
        (`ProjectExperiment.position`): pairs of the position and the position of the group. Skips
        experiments that the user does not take part in and positions that do not exist."""
        experiments = _c.sizes_from(positions)
        return self._exclusively(
            lambda: [
                (experiment, group)
                for experiment, group in self._list(
                    _c.lib.corvo_evaluation_memberships, experiments, _MEMBERSHIPS
                )
            ]
        )

    def __reduce__(self) -> Any:
        raise TypeError("an evaluation cannot be copied or pickled")

    # The functions below run while the lock is held: what the library returns is valid only until
    # its next call, so it must be copied before another thread asks.

    def _exclusively(self, body: Callable[[], R]) -> R:
        with self._lock:
            if self._asking:  # by a time zone's function, or a signal handler
                raise error_of(BUSY, "the evaluation is in use")
            self._asking = True
            try:
                return body()
            finally:
                self._asking = False

    def _call(self, function: Any, *arguments: Any) -> int:
        if self._buffer.zone is None and self._zone is None:
            return int(function(*arguments))
        with CallingBack():
            return int(function(*arguments))

    def _check(self, status: int) -> None:
        if self._zone is not None:
            self._zone.check()
        if status:
            check(status)

    def _ask(self, function: Any, *arguments: Any, read: Callable[[], R]) -> R:
        def body() -> R:
            self._check(self._call(function, self._handle, *arguments))
            return read()

        return self._exclusively(body)

    def _result(self, function: Any, *arguments: Any) -> str:
        result = _c.Result()
        return self._ask(function, *arguments, result, read=lambda: _c.str_from(result))

    def _text(self, function: Any, *arguments: Any) -> Optional[str]:
        value = _c.Value()

        def read() -> Optional[str]:
            return _c.str_from(value.text) if value.type else None

        return self._ask(function, *arguments, value, read=read)

    def _reset(self, write: Callable[[], None]) -> None:
        write()
        reset = _c.lib.corvo_evaluation_reset
        check(self._call(reset, self._handle, self._buffer.struct))
        self._zone = self._buffer.zone
        self._check(0)

    def _check_flag(self, name: _c.Text, number: int) -> Any:
        value = _c.Value()
        ask = _c.lib.corvo_evaluation_check_flag
        self._check(self._call(ask, self._handle, name, number, value))
        return value_from(value)

    def _list(
        self, function: Any, positions: "ctypes.Array[ctypes.c_size_t]", layout: struct.Struct
    ) -> Any:
        """The structs that a function lists, copied, as tuples."""
        if not len(positions):
            return ()
        self._check(
            self._call(
                function, self._handle, positions, len(positions), self._items, self._count
            )
        )
        count = self._count.value
        if not count:
            return ()
        return layout.iter_unpack(ctypes.string_at(self._items.value or 0, count * layout.size))

    def _flag_values(self, selection: Selection) -> Dict[str, Value]:
        names = self._project._flag_names
        known = self._project._known_values
        values: Dict[str, Value] = {}
        for flag, address, size in self._list(
            _c.lib.corvo_evaluation_flag_texts, selection.flags, _FLAG_TEXTS
        ):
            try:
                values[names[flag]] = known[address, size]
            except KeyError:
                values[names[flag]] = self._learn(names[flag], address, size)
        return values

    def _learn(self, flag: str, address: int, size: int) -> Value:
        """The value of a flag's text, which the project has at this place as long as it exists."""
        objects = self._project._known_objects
        if (address, size) not in objects:
            value: Value = self._check_flag(_c.text_from(flag), ANY)
            if not isinstance(value, dict):
                self._project._known_values[address, size] = value
                return value
            objects[address, size] = _c.str_from(_c.Result(address, size))
        value = parse(objects[address, size])
        return value

    def _groups(self, selection: Selection) -> Tuple[List[Membership], List[Membership]]:
        """The user's experiments and holdouts."""
        memberships = self._project._memberships
        holdouts = self._project._holdout_positions
        groups: Tuple[List[Membership], List[Membership]] = ([], [])
        for experiment, group in self._list(
            _c.lib.corvo_evaluation_memberships, selection.experiments, _MEMBERSHIPS
        ):
            groups[experiment in holdouts].append(memberships[experiment][group])
        return groups

    def _assignments(
        self, users: Iterable[User], defaults: Context, selection: Selection
    ) -> Iterator[Assignment]:
        """The answers about many users, if the present user is `defaults`."""
        has_defaults = True
        for user in users:
            if isinstance(user, Context):
                write = functools.partial(self._buffer.write, user)
                has_defaults = False
            elif has_defaults:
                write = functools.partial(self._buffer.write_properties, user)
            else:
                context = dataclasses.replace(defaults, properties=user)
                write = functools.partial(self._buffer.write, context)
                has_defaults = True
            flags, groups = self._exclusively(functools.partial(self._answers, write, selection))
            yield Assignment(user, flags, *groups)

    def _answers(self, write: Callable[[], None], selection: Selection) -> Tuple[Any, Any]:
        self._reset(write)
        return self._flag_values(selection), self._groups(selection)
