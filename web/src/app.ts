// Connects the buttons, the fields and the clicks of the page to the view.

import {makeChart, toCsv} from './chart';
import {listenToAim, listenToClicks, listenToKeys} from './controls';
import {Marks} from './marks';
import {getNumDecimals, getProfile, getRoundNumber, type Place, type Profile, toPlain} from './measure';
import {make, makeKey, type Page} from './page';
import {download, makePicture, toFilename} from './picture';
import type {SceneData} from './read';
import type {View} from './view';

type Mode = 'read' | 'measure' | 'profile';

const NUM_CONTOURS = 20;
export const NARROW = 600; // pixels; also in the style sheet
const CHART_COLORS = ['#c2185b', '#1f6f8b', '#8a6d00', '#6a3fb5']; // for surfaces without a colour

export class App {
    private mode: Mode = 'read';
    private clicked: Place[] = [];
    private readonly marks: Marks;
    private readonly numDecimals: number;
    private profiles: Profile[] = [];

    constructor(
        private readonly page: Page,
        private readonly view: View,
        private readonly data: SceneData,
    ) {
        this.marks = new Marks(page.marks, view, data.description.labels);
        const {low, high} = view.box;
        this.numDecimals = getNumDecimals(Math.max(high[0] - low[0], high[1] - low[1]));
        view.onFrame = () => this.marks.draw();
        this.listen();
        this.listenToHeights(high[2] - low[2]);
        const observer = new ResizeObserver(() => this.resize());
        observer.observe(page.canvas);
        observer.observe(page.panel);
    }

    /** Fits the scene to the page. If there is room, the scene moves aside for an open panel. */
    resize(): void {
        const {canvas, panel} = this.page;
        const isAside = !panel.classList.contains('closed') && canvas.clientWidth > NARROW;
        this.view.resize(isAside ? panel.getBoundingClientRect().right : 0);
    }

    private listen(): void {
        const {buttons, canvas, layers} = this.page;
        layers.forEach((box, i) => box.addEventListener('change', () => this.view.setLayerVisible(i, box.checked)));
        buttons.fold.addEventListener('click', () => this.resize()); // the observer is called only before the next frame
        buttons.reset.onclick = () => this.view.reset();
        buttons.top.onclick = () => this.view.lookFromTop();
        buttons.measure.onclick = () => this.setMode(this.mode === 'measure' ? 'read' : 'measure');
        buttons.profile.onclick = () => this.setMode(this.mode === 'profile' ? 'read' : 'profile');
        buttons.save.onclick = () => void this.save();
        listenToAim(canvas, this.view);
        listenToClicks(canvas, (x, y) => this.click(x, y));
        listenToKeys(canvas, this.view, {read: () => this.click(...this.view.middle), escape: () => this.setMode('read')});
    }

    private listenToHeights(extent: number): void {
        const {exaggeration, contours, interval} = this.page;
        const setExaggeration = (): void => {
            const factor = exaggeration.valueAsNumber;
            if (factor > 0) this.view.setExaggeration(factor);
        };
        exaggeration.value = String(this.data.description.exaggeration);
        exaggeration.addEventListener('input', setExaggeration);
        exaggeration.addEventListener('change', () => (exaggeration.value = String(this.view.getExaggeration())));
        setExaggeration();
        const setContours = (): void => this.view.setContours(contours.checked ? interval.valueAsNumber : 0);
        interval.value = String(Number(getRoundNumber((extent || 1) / NUM_CONTOURS).toPrecision(3)));
        interval.addEventListener('input', setContours);
        contours.addEventListener('change', setContours);
    }

    private setMode(mode: Mode): void {
        this.mode = mode;
        this.clicked = [];
        this.clear();
        for (const name of ['measure', 'profile'] as const) {
            this.page.buttons[name].setAttribute('aria-pressed', String(mode === name));
        }
    }

    /** Removes the measurements from the page. */
    private clear(): void {
        this.marks.places = [];
        this.marks.lines = [];
        this.page.distance.textContent = '';
        this.page.chart.hidden = true;
        this.page.chart.replaceChildren();
        this.view.draw();
    }

    private click(x: number, y: number): void {
        const place = this.pick(x, y);
        if (!place) return;
        this.page.readout.textContent = this.toText(place);
        if (this.clicked.length === 2 || this.mode === 'read') {
            this.clicked = [];
            this.clear();
        }
        this.clicked.push(place);
        this.marks.places = [...this.clicked];
        if (this.clicked.length === 2) this.measure(this.clicked[0], this.clicked[1]);
        this.view.draw();
    }

    /** The coordinates of a place. Degrees get five more decimals, since a degree is about 10^5 metres long. */
    private toText(place: Place): string {
        const {layer} = this.data;
        const shown = layer?.toCoordinates(place) ?? place;
        const more = layer?.isGlobe ? 5 : 0;
        return shown.map((value, i) => toPlain(value, this.numDecimals + (i < 2 ? more : 0))).join(' ');
    }

    /** The place under a point of the canvas: x and y rounded as printed, and the height there. */
    private pick(x: number, y: number): Place | null {
        const hit = this.view.pick(x, y);
        if (!hit) return null;
        const [px, py] = hit.place.map(value => Number(value.toFixed(this.numDecimals)));
        return [px, py, this.view.getHeight(hit, px, py)];
    }

    private measure(from: Place, to: Place): void {
        const length = Math.hypot(to[0] - from[0], to[1] - from[1]);
        const rise = to[2] - from[2];
        const format = (value: number): string => value.toFixed(3);
        const inSpace = format(Math.hypot(length, rise));
        this.page.distance.textContent = `${format(length)} horizontal, ${format(rise)} vertical, ${inSpace} in space`;
        this.marks.lines = [[from, to]];
        if (this.mode === 'profile' && length > 0) this.showProfile(from, to, length);
    }

    private showProfile(from: Place, to: Place, length: number): void {
        this.profiles = this.view.visibleSurfaces().map(surface => getProfile(surface, from, to)).filter(profile => profile.parts.length > 0);
        const toPlace = ([d, z]: [number, number]): number[] => [
            from[0] + (d / length) * (to[0] - from[0]),
            from[1] + (d / length) * (to[1] - from[1]),
            z,
        ];
        this.marks.lines = this.profiles.flatMap(profile => profile.parts.map(part => part.map(toPlace)));
        const csv = make('button', {type: 'button', testid: 'save-profile'}, 'Save as CSV');
        const {title, layers} = this.data.description;
        const getName = ({surface}: Profile): string => layers[surface.layer];
        csv.onclick = () => download(new Blob([toCsv(this.profiles, getName)], {type: 'text/csv'}), toFilename(title, '.csv'));
        const getColor = (profile: Profile): string =>
            profile.surface.color ?? CHART_COLORS[this.profiles.indexOf(profile) % CHART_COLORS.length];
        const names = this.profiles.length < 2 ? [] : this.profiles.map(profile => makeKey(getColor(profile), getName(profile)));
        const chart = makeChart(this.profiles, length, getColor);
        this.page.chart.replaceChildren(make('header', {}, make('span', {}, 'Height over distance'), ...names, csv), chart);
        this.page.chart.hidden = false;
    }

    private async save(): Promise<void> {
        const {canvas, marks} = this.page;
        const picture = await makePicture(this.view, canvas, marks, this.data.description);
        download(picture, toFilename(this.data.description.title, '.png'));
    }
}
