import cases
import pytest


@pytest.fixture(autouse=True)
def profile(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    cases.write_profile()
