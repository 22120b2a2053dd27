import { make } from '../../page/dom.js';
import { OPTION_FIELDS, type OptionField, type OptionValue, type OptionValues } from './options_fields.js';

type Control = HTMLInputElement | HTMLSelectElement;

/** The controls of the options dialog: shows a set of options and gives back what the person made of them. */
export class OptionsForm {
    readonly element = make('fieldset', { class: 'fields', disabled: true });
    readonly #controls = new Map<string, Control>();

    constructor() {
        this.element.append(make('legend', { class: 'unseen' }, 'Options'));
        for (const field of OPTION_FIELDS) this.element.append(this.#makeField(field));
    }

    set enabled(enabled: boolean) {
        this.element.disabled = !enabled;
    }

    focus(): void {
        this.#controls.get(OPTION_FIELDS[0]!.key)?.focus();
    }

    show(options: OptionValues): void {
        for (const field of OPTION_FIELDS)
            showValue(field, this.#controls.get(field.key)!, options.get(field.key)!);
    }

    read(): OptionValues {
        return new Map(OPTION_FIELDS.map((field) => [field.key, readValue(this.#controls.get(field.key)!)]));
    }

    #makeField(field: OptionField): HTMLElement {
        const id = `option-${field.key}`;
        const control = makeControl(field, id);
        this.#controls.set(field.key, control);
        const label = make('label', { for: id }, field.label);
        const parts: Node[] = field.control === 'check' ? [control, label] : [label, control];
        if (field.control === 'text' && field.hint) {
            parts.push(make('p', { id: `${id}-hint`, class: 'hint' }, field.hint));
            control.setAttribute('aria-describedby', `${id}-hint`);
        }
        return make('div', { class: `field ${field.control}` }, ...parts);
    }
}

function makeControl(field: OptionField, id: string): Control {
    const { key: name } = field;
    switch (field.control) {
        case 'check':
            return make('input', { id, name, type: 'checkbox' });
        case 'text':
            return make('input', { id, name, type: 'text', autocomplete: 'off', spellcheck: 'false' });
        case 'number':
            return make('input', {
                id,
                name,
                type: 'number',
                required: true,
                step: 1,
                min: field.least,
                max: field.greatest,
            });
        case 'choice':
            return make(
                'select',
                { id, name },
                ...field.choices.map(({ value, label }) => make('option', { value }, label)),
            );
    }
}

function showValue(field: OptionField, control: Control, value: OptionValue): void {
    if (control instanceof HTMLInputElement && control.type === 'checkbox') {
        control.checked = value === true;
        return;
    }
    // A stored value that the dialog does not know ("unknown") is shown as it is, and kept unless changed.
    const isNew = field.control === 'choice' && !field.choices.some((choice) => choice.value === value);
    if (isNew) control.append(make('option', { value: String(value) }, String(value)));
    control.value = String(value);
}

function readValue(control: Control): OptionValue {
    if (control instanceof HTMLSelectElement) return control.value;
    if (control.type === 'checkbox') return control.checked;
    return control.type === 'number' ? control.valueAsNumber : control.value;
}
