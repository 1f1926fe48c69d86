# SPDX-License-Identifier: Apache-2.0
"""Whether everybody can read and reach it: contrast, keyboard, names, sizes. The measures are those of WCAG 2.2, AA."""

import pytest
from selenium.webdriver.common.keys import Keys

from browser import PHONE
from gateway import create, newest, objects, until

SHOWN = ["SIM/1/NOISE", "SIM/1/TONE", "SIM/1/VOLTAGE"]

# Ratios of all texts to what is behind them, the smallest first: [[ratio, needed, words], ...]. Controls that are
# disabled are left out, as the guidelines do.
CONTRASTS = r"""
const parse = (text) => {
  const c = document.createElement("canvas").getContext("2d", {willReadFrequently: true});
  c.fillStyle = text; c.fillRect(0, 0, 1, 1);
  return [...c.getImageData(0, 0, 1, 1).data];
};
const light = (rgb) => {
  const linear = (v) => (v <= 0.03928 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
  const [r, g, b] = rgb.slice(0, 3).map((v) => linear(v / 255));
  return 0.2126 * r + 0.7152 * g + 0.0722 * b;
};
const ratio = (a, b) => (Math.max(light(a), light(b)) + 0.05) / (Math.min(light(a), light(b)) + 0.05);
const behind = (element) => {
  for (let one = element; one; one = one.parentElement) {
    const colour = parse(getComputedStyle(one).backgroundColor);
    if (colour[3] === 255) return colour;
  }
  return [255, 255, 255, 255];
};
const found = [];
const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
while (walker.nextNode()) {
  const element = walker.currentNode.parentElement;
  const isLeftOut = element.closest("[hidden], :disabled, .skip, noscript, option") || !element.checkVisibility();
  if (isLeftOut || !walker.currentNode.textContent.trim()) continue;
  const style = getComputedStyle(element);
  const size = parseFloat(style.fontSize);
  const needed = size >= 24 || (size >= 18.66 && Number(style.fontWeight) >= 700) ? 3 : 4.5;
  found.push([ratio(parse(style.color), behind(element)), needed, element.textContent.slice(0, 40)]);
}
const css = (name) => parse(getComputedStyle(document.documentElement).getPropertyValue(name));
const check = (name, under, needed) => found.push([ratio(css(name), css(under)), needed, `${name} on ${under}`]);
for (let i = 0; i < 8; ++i) check(`--trace-${i}`, "--panel", 3);
check("--line", "--panel", 3);
for (const name of ["--muted", "--good", "--warn", "--bad", "--text", "--accent"])
  for (const under of ["--panel", "--page", "--raised"]) check(name, under, 4.5);
check("--bad", "--bad-panel", 4.5);
check("--on-accent", "--accent", 4.5);
return found.sort((a, b) => a[0] - b[0]);
"""


def open_full(gateway, platform, browser, **how):
    name = create(platform, "Average", SHOWN[0])
    browser.open(gateway.address, show=[*SHOWN, name], **how)
    browser.wait_for_pictures(*SHOWN, name)
    browser.until("return document.querySelectorAll('#objects .row').length === 1")


@pytest.mark.parametrize("dark", [False, True], ids=["light", "dark"])
def test_all_texts_can_be_read(gateway, platform, browser, empty, dark):
    open_full(gateway, platform, browser, dark=dark)
    browser.press("w", "m")
    browser.click("#objects button", "Delete")
    contrasts = browser.run(CONTRASTS)
    assert len(contrasts) > 80
    assert [one for one in contrasts if one[0] < one[1]] == []
    page = browser.run("return getComputedStyle(document.body).backgroundColor")
    assert page == ("rgb(14, 17, 20)" if dark else "rgb(238, 240, 242)")


def test_the_theme_can_be_chosen_and_stays(gateway, browser):
    browser.open(gateway.address)
    browser.press("t", "t")
    assert browser.text("#theme") == "Theme: dark"
    browser.driver.refresh()
    browser.until("return document.querySelector('#theme')?.textContent === 'Theme: dark'")


def test_the_keyboard_reaches_everything_and_the_focus_is_seen(gateway, platform, browser, empty):
    open_full(gateway, platform, browser)
    browser.press("p")  # the lists stand still
    reachable = browser.run(
        "return [...document.querySelectorAll('a[href], button, input, select, [tabindex=\"0\"]')]"
        ".filter((one) => one.checkVisibility() && !one.disabled && !one.closest('dialog')).length")
    seen = set()
    for _ in range(reachable + 3):
        browser.press(Keys.TAB)
        number, outline = browser.run(
            "window.walked ??= new Map(); const one = document.activeElement;"
            "if (!walked.has(one)) walked.set(one, walked.size); const style = getComputedStyle(one);"
            "return [walked.get(one), one === document.body ? 'body' : style.outlineStyle + ' ' + style.outlineWidth]")
        seen.add(number)
        assert outline in ("solid 3px", "body"), browser.run("return document.activeElement.outerHTML.slice(0, 200)")
    assert len(seen) >= reachable


def test_an_object_is_made_with_the_keyboard_alone(gateway, platform, browser, empty):
    browser.open(gateway.address, show=[SHOWN[0]])
    browser.wait_for_pictures(SHOWN[0])
    browser.press("n")
    browser.until("return document.activeElement?.id === 'create-type'")
    browser.press("Peak")
    browser.until("return document.querySelector('#create-input-0')?.options.length > 1")
    browser.press(Keys.TAB)
    browser.press(SHOWN[0])
    browser.until("return !document.querySelector('#create-dialog button.main').disabled")
    browser.press(Keys.TAB, Keys.TAB, Keys.ENTER)
    browser.until("return !document.querySelector('#create-dialog').open")
    assert until(lambda: len(objects(platform)) == 1)
    browser.wait_for_pictures(newest(platform))


def test_keys_are_listed_and_can_be_switched_off(gateway, browser):
    browser.open(gateway.address)
    browser.press("?")
    browser.until("return document.querySelector('#keys-dialog').open")
    assert browser.text("#keys-dialog").count("save") >= 2
    browser.click("#shortcuts-on")
    browser.press(Keys.ESCAPE)
    browser.press("p")
    assert not browser.run("return document.body.classList.contains('paused')")


def test_keys_that_are_typed_into_a_field_do_nothing_else(gateway, browser):
    browser.open(gateway.address)
    browser.press("/")
    browser.press("pnt")
    assert browser.run("return document.querySelector('#filter').value") == "pnt"
    assert not browser.run("return document.body.classList.contains('paused')")


def test_place_and_values_of_the_cursor_are_said_when_it_rests(gateway, browser):
    browser.open(gateway.address, show=SHOWN[:2])
    browser.wait_for_pictures(*SHOWN[:2])
    browser.run("document.querySelector('.plot').focus(); window.said = [];"
                "new MutationObserver(() => said.push(document.querySelector('.panel [role=status]').textContent))"
                ".observe(document.querySelector('.panel [role=status]'), {childList: true})")
    browser.press(*[Keys.ARROW_RIGHT] * 5)
    browser.until("return said.length > 0")
    place, *values = browser.run("return said").pop().split(". ")
    assert place == "5250000"  # without a unit: the simulator has none
    assert [value.split(":")[0] for value in values] == SHOWN[:2] and all(value.endswith("dBm") for value in values)
    assert browser.run("return said.length") == 1, "one sentence, not one for each key"


def test_what_goes_on_by_itself_is_not_said(gateway, platform, browser, empty):
    """Rates, ages and digits change all the time: none of them stands where changes are read out."""
    open_full(gateway, platform, browser)
    browser.press("m")
    browser.run("window.spoken = [];"
                "for (const live of document.querySelectorAll('[role=status], [role=alert], [role=log], [aria-live]'))"
                "  new MutationObserver(() => spoken.push(live.outerHTML.slice(0, 80)))"
                "    .observe(live, {childList: true, subtree: true, characterData: true})")
    browser.wait_for_frames(100)
    assert browser.run("return spoken") == []


def test_everything_has_a_name(gateway, platform, browser, empty):
    open_full(gateway, platform, browser)
    nameless = browser.run(
        "return [...document.querySelectorAll('button, input, select, canvas[role], [role=group], section')]"
        ".filter((one) => !(one.getAttribute('aria-label') || one.textContent.trim() || one.labels?.length ||"
        " one.getAttribute('aria-labelledby'))).map((one) => one.outerHTML.slice(0, 120))")
    assert nameless == []


def test_traces_differ_in_more_than_colour(gateway, browser):
    browser.open(gateway.address, show=SHOWN)
    browser.wait_for_pictures(*SHOWN)
    keys = browser.run(
        "return [...document.querySelectorAll('.key')].map((key) => [...key.getContext('2d')"
        ".getImageData(0, 0, key.width, key.height).data].filter((_, i) => i % 4 === 3).join())")
    assert len(set(keys)) == len(SHOWN)


def test_fingers_hit_what_they_are_to_hit_on_a_phone(gateway, platform, browser, empty):
    open_full(gateway, platform, browser, size=PHONE)
    small = browser.run(
        "return [...document.querySelectorAll('button, input, select')].filter((one) => one.checkVisibility())"
        ".map((one) => [one.closest('label') ?? one, one]).map(([area, one]) => [area.getBoundingClientRect(), one])"
        ".filter(([box]) => box.width < 24 || box.height < 24).map(([, one]) => one.outerHTML.slice(0, 100))")
    assert small == []
