# SPDX-License-Identifier: Apache-2.0
"""Clients: they fetch a project's configuration, cache it, and answer about one user."""

from __future__ import annotations

import asyncio
import ctypes
import weakref
from typing import Any, Dict, List, NamedTuple, Optional, Type, TypeVar, Union, overload

from . import _c
from ._evaluation import NOTHING, Fallback, Form, details_from, form_number
from ._experiment import Experiment, experiments_from
from ._handle import created
from ._project import Project
from ._records import ExperimentDetail
from ._registry import Question, Registry, call_soon, default_registry, late
from ._user import Properties, edit, user_of
from ._values import D, T, Value, number_of, parse, typed, value_from

R = TypeVar("R")
C = TypeVar("C", bound="_BaseClient")


class Copy(NamedTuple):
    """A cached copy. Times are in seconds since 1970."""

    stored_at: float  #: When it was stored.
    fresh_until: float  #: From this moment on, questions fetch a new one.


class ClientStatus(NamedTuple):
    """The cached copies of a client; None if there is none that can be read."""

    configuration: Optional[Copy]
    location: Optional[Copy]


def _text(answer: _c.Answer) -> str:
    return _c.str_from(answer.value.text)


def _optional_text(answer: _c.Answer) -> Optional[str]:
    return _text(answer) if answer.value.type else None


def _experiments(answer: _c.Answer) -> List[Experiment]:
    return experiments_from(answer.experiments, answer.experiment_count)


def _values(answer: _c.Answer) -> Dict[str, Value]:
    return {name: typed(text) for name, text in parse(_text(answer)).items()}


def _nothing(answer: _c.Answer) -> None:
    pass


class _Questions:
    """Each question, as the library is asked."""

    @staticmethod
    def flag(name: str, kind: Optional[type]) -> Question[Any]:
        return Question(
            _c.lib.corvo_client_check_flag,
            _c.text_from(name),
            number_of(kind),
            read=lambda answer: value_from(answer.value),
        )

    @staticmethod
    def flags() -> Question[Dict[str, Value]]:
        return Question(_c.lib.corvo_client_flags, read=_values)

    @staticmethod
    def experiment(name: str) -> Question[Optional[Experiment]]:
        return Question(
            _c.lib.corvo_client_experiment,
            _c.text_from(name),
            read=lambda answer: next(iter(_experiments(answer)), None),
        )

    @staticmethod
    def all_experiments() -> Question[List[Experiment]]:
        return Question(_c.lib.corvo_client_all_experiments, read=_experiments)

    @staticmethod
    def experiments_text(estimate_holdouts: bool) -> Question[Optional[str]]:
        function = _c.lib.corvo_client_all_experiments_text
        return Question(function, bool(estimate_holdouts), read=_optional_text)

    @staticmethod
    def holdout(name: str) -> Question[bool]:
        return Question(
            _c.lib.corvo_client_holdout,
            _c.text_from(name),
            read=lambda answer: bool(answer.value.boolean),
        )

    @staticmethod
    def holdouts_text() -> Question[Optional[str]]:
        return Question(_c.lib.corvo_client_all_holdouts, read=_optional_text)

    @staticmethod
    def details(estimate_holdouts: bool) -> Question[List[ExperimentDetail]]:
        return Question(
            _c.lib.corvo_client_details,
            bool(estimate_holdouts),
            read=lambda answer: details_from(_text(answer)),
        )

    @staticmethod
    def explain_flag(name: str, form: str) -> Question[str]:
        function = _c.lib.corvo_client_explain_flag
        return Question(function, _c.text_from(name), form_number(form), read=_text)

    @staticmethod
    def explain_experiment(name: str, form: str) -> Question[str]:
        function = _c.lib.corvo_client_explain_experiment
        return Question(function, _c.text_from(name), form_number(form), read=_text)

    @staticmethod
    def project() -> Question[Project]:
        return Question(_c.lib.corvo_client_project, read=lambda answer: Project(answer.project))

    @staticmethod
    def include_force(experiment: str, group_index: Optional[int]) -> Question[None]:
        index = None
        if group_index is not None:
            index = ctypes.c_int64(_c.within_64_bits(group_index, "an index"))
        function = _c.lib.corvo_client_include_force
        return Question(function, _c.text_from(experiment), index, read=_nothing)

    @staticmethod
    def exclude_force(experiment: str) -> Question[None]:
        function = _c.lib.corvo_client_exclude_force
        return Question(function, _c.text_from(experiment), read=_nothing)

    @staticmethod
    def exclude_force_all() -> Question[None]:
        return Question(_c.lib.corvo_client_exclude_force_all, read=_nothing)


def _running_loop() -> Optional[asyncio.AbstractEventLoop]:
    try:
        return asyncio.get_running_loop()
    except RuntimeError:
        return None


class _BaseClient:
    """What clients of both kinds have."""

    def __init__(
        self,
        project_token: str,
        api_url: str,
        *,
        initial_user: Optional[Properties] = None,
        cache_ttl: int = 300,
        retry_count: int = 2,
        tag: str = "default",
        timeout: Optional[float] = None,
        registry: Optional[Registry] = None,
    ):
        """Creates a client for the backend at `api_url`. `initial_user` replaces the stored user.
        Copies are fresh for `cache_ttl` seconds, but at least 10. A failed request is retried
        `retry_count` times. Stored records belong to `tag` and token. A question raises
        TimeoutError after `timeout` seconds; its fetch goes on. None: as long as transfers take.

        Raises `CorvoError` ("initializationOfExistingClient") if the tag is taken."""
        if cache_ttl < 0 or retry_count < 0:
            raise ValueError("a time to live and a number of retries must not be negative")
        self._be(tag, timeout, registry)
        user = None if initial_user is None else user_of(self._registry, initial_user)
        options = _c.ClientOptions(
            size=ctypes.sizeof(_c.ClientOptions),
            project_token=_required(project_token, "a project token"),
            api_url=_required(api_url, "an address"),
            initial_user=None if user is None else user._as_parameter_,
            cache_ttl=_c.within_64_bits(cache_ttl, "a time to live") or 1,  # which becomes 10
            retry_count=_c.within_64_bits(retry_count, "a number of retries") or -1,
            tag=self._tag,
        )
        call = self._registry.call
        number = created(call, _c.lib.corvo_registry_initialize_client, self._registry, options)
        self._registry.registrations[tag] = number
        self._own(number, number)

    @classmethod
    def get(
        cls: Type[C],
        tag: str = "default",
        *,
        timeout: Optional[float] = None,
        registry: Optional[Registry] = None,
    ) -> Optional[C]:
        """The client that is registered under the tag, as another object; None if there is none. A
        client remains registered until one of its objects is closed, even without any."""
        client = cls.__new__(cls)
        client._be(tag, timeout, registry)
        handle = ctypes.c_void_p()
        get = _c.lib.corvo_registry_get_client
        client._registry.call(get, client._registry, client._tag, handle)
        if handle.value is None:
            return None
        client._own(handle.value, client._registry.registrations.get(tag))
        return client

    def _be(self, tag: str, timeout: Optional[float], registry: Optional[Registry]) -> None:
        self._timeout = timeout
        self._registry = default_registry() if registry is None else registry
        self._name = tag
        self._tag = _required(tag, "a tag")

    def _own(self, number: int, first: Optional[int]) -> None:
        self._handle = number
        self._first = first  # the handle that the client was registered with
        self._finalizer = weakref.finalize(self, self._registry.release, number)

    def close(self) -> None:
        """Removes the client from its registry. Questions under way end with `DroppedError`; later
        ones raise `InvalidHandleError`. A second call does nothing."""
        if self._finalizer.alive:
            registrations = self._registry.registrations
            if registrations.get(self._name) == self._first:  # not a later client's
                remove = _c.lib.corvo_registry_remove_client
                self._registry.call(remove, self._registry, self._tag)
                registrations.pop(self._name, None)
            self._finalizer()
            self._registry.drop(self._handle)

    def set_user(self, properties: Properties) -> None:
        """Replaces the stored user. Each property expires 24 hours later."""
        edit(self._registry, _c.lib.corvo_client_set_user_properties, self._handle, properties)

    def update_user(self, properties: Properties) -> None:
        """Sets properties of the stored user, which keeps the others and their expiries."""
        edit(self._registry, _c.lib.corvo_client_edit_user_properties, self._handle, properties)

    def status(self) -> ClientStatus:
        """When the cached copies were stored, and until when they are fresh. Fetches nothing."""
        copies = _c.ClientCopies(size=ctypes.sizeof(_c.ClientCopies))
        self._registry.call(_c.lib.corvo_client_status, self._handle, copies)
        return ClientStatus(_copy_of(copies.configuration), _copy_of(copies.location))

    def __reduce__(self) -> Any:
        raise TypeError("a client cannot be copied or pickled")


def _copy_of(copy: _c.Copy) -> Optional[Copy]:
    return Copy(copy.stored_at, copy.fresh_until) if copy.exists else None


def _required(text: str, what: str) -> _c.Text:
    if text is None:
        raise TypeError(f"{what} is missing")
    return _c.text_from(text, what)


class Client(_BaseClient):
    """Answers questions about one user of one project, and waits for the answers. A question that
    needs no fetch is answered at once. A context manager that closes the client."""

    def __enter__(self) -> "Client":
        return self

    def __exit__(self, *error: object) -> None:
        self.close()

    def _ask(self, question: Question[R]) -> R:
        pending = self._registry.ask(self._handle, question)
        return self._registry.wait(pending, self._timeout)

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
        """The flag's value for the user; see `Evaluation.check_flag`. With a default, that is also
        the answer if the configuration cannot be fetched, or not within `timeout`."""
        question = _Questions.flag(name, kind)
        with Fallback(default) as answer:
            answer.value = self._ask(question)
        return answer.value

    def flags(self) -> Dict[str, Value]:
        """The values of all flags that have one for the user."""
        return self._ask(_Questions.flags())

    def experiment(self, name: str) -> Optional[Experiment]:
        """The first experiment of that name that the user takes part in, or None. Raises
        `CorvoError` if the project has none of that name."""
        return self._ask(_Questions.experiment(name))

    def all_experiments(self) -> List[Experiment]:
        """The experiments that the user takes part in, holdouts included."""
        return self._ask(_Questions.all_experiments())

    def experiments_text(self, estimate_holdouts: bool = True) -> Optional[str]:
        """The same as "checkout.1|colors.0"; None if there are none."""
        return self._ask(_Questions.experiments_text(estimate_holdouts))

    def holdout(self, name: str) -> bool:
        """Whether the user is in the first holdout of that name."""
        return self._ask(_Questions.holdout(name))

    def holdouts_text(self) -> Optional[str]:
        """The holdouts that the user is in, as a text."""
        return self._ask(_Questions.holdouts_text())

    def details(self, estimate_holdouts: bool = True) -> List[ExperimentDetail]:
        """The experiments that the user takes part in, with the values that they give."""
        return self._ask(_Questions.details(estimate_holdouts))

    def explain_flag(self, name: str, form: Form = "text") -> str:
        """Why the flag has its value for the user, as a human-readable text or as JSON."""
        return self._ask(_Questions.explain_flag(name, form))

    def explain_experiment(self, name: str, form: Form = "text") -> str:
        """Why the user is in the experiment or not, in the same forms."""
        return self._ask(_Questions.explain_experiment(name, form))

    def project(self) -> Project:
        """The current project."""
        return self._ask(_Questions.project())

    def include_force(self, experiment: str, group_index: Optional[int] = None) -> None:
        """Forces the user into an experiment, and into the group with that index; with None, into
        the group that the weights select. It lasts until `exclude_force`, across restarts."""
        self._ask(_Questions.include_force(experiment, group_index))

    def exclude_force(self, experiment: str) -> None:
        """Undoes it for one experiment."""
        self._ask(_Questions.exclude_force(experiment))

    def exclude_force_all(self) -> None:
        """Undoes it for all experiments."""
        self._ask(_Questions.exclude_force_all())


class AsyncClient(_BaseClient):
    """The same for asyncio: questions are coroutines, which any event loop may await. No thread is
    started. An asynchronous context manager that closes the client.

    A registry is used by one thread at a time. So give clients of other threads another one."""

    async def __aenter__(self) -> "AsyncClient":
        return self

    async def __aexit__(self, *error: object) -> None:
        self.close()

    async def _ask(self, question: Question[R]) -> R:
        loop = asyncio.get_running_loop()
        self._registry.drive(loop)
        done = loop.create_future()

        def tell() -> None:
            if not done.done():  # the task may have been cancelled
                done.set_result(None)

        def listener() -> None:
            if _running_loop() is loop:
                tell()
            else:  # another thread runs the registry, too
                call_soon(loop, tell)

        pending = self._registry.ask(self._handle, question, listener)
        try:
            await asyncio.wait_for(done, self._timeout)
        except asyncio.TimeoutError:  # another class before Python 3.11
            raise late(self._timeout) from None
        return pending.result()

    @overload
    async def check_flag(self, name: str, kind: Type[T]) -> Optional[T]: ...
    @overload
    async def check_flag(self, name: str, kind: Type[T], *, default: T) -> T: ...
    @overload
    async def check_flag(self, name: str) -> Optional[Value]: ...
    @overload
    async def check_flag(self, name: str, *, default: D) -> Union[Value, D]: ...
    async def check_flag(
        self, name: str, kind: Optional[type] = None, *, default: Any = NOTHING
    ) -> Any:
        question = _Questions.flag(name, kind)
        with Fallback(default) as answer:
            answer.value = await self._ask(question)
        return answer.value

    async def flags(self) -> Dict[str, Value]:
        return await self._ask(_Questions.flags())

    async def experiment(self, name: str) -> Optional[Experiment]:
        return await self._ask(_Questions.experiment(name))

    async def all_experiments(self) -> List[Experiment]:
        return await self._ask(_Questions.all_experiments())

    async def experiments_text(self, estimate_holdouts: bool = True) -> Optional[str]:
        return await self._ask(_Questions.experiments_text(estimate_holdouts))

    async def holdout(self, name: str) -> bool:
        return await self._ask(_Questions.holdout(name))

    async def holdouts_text(self) -> Optional[str]:
        return await self._ask(_Questions.holdouts_text())

    async def details(self, estimate_holdouts: bool = True) -> List[ExperimentDetail]:
        return await self._ask(_Questions.details(estimate_holdouts))

    async def explain_flag(self, name: str, form: Form = "text") -> str:
        return await self._ask(_Questions.explain_flag(name, form))

    async def explain_experiment(self, name: str, form: Form = "text") -> str:
        return await self._ask(_Questions.explain_experiment(name, form))

    async def project(self) -> Project:
        return await self._ask(_Questions.project())

    async def include_force(self, experiment: str, group_index: Optional[int] = None) -> None:
        await self._ask(_Questions.include_force(experiment, group_index))

    async def exclude_force(self, experiment: str) -> None:
        await self._ask(_Questions.exclude_force(experiment))

    async def exclude_force_all(self) -> None:
        await self._ask(_Questions.exclude_force_all())


for _name, _question in vars(AsyncClient).items():
    if not _name.startswith("_"):
        _question.__doc__ = getattr(Client, _name).__doc__
